#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/PostedCallback.h"
#include "Trigger.h"

namespace tarn {

class BusThread;

struct Shortcut {
    std::string id;           ///< unique in its list
    std::string description;  ///< for the desktop's own list of shortcuts
    Trigger preferred;        ///< the desktop may let its user choose another
};

/// Keys that are heard whichever program has the keyboard: through the desktop's portal where that binds
/// them, and by grabs of the X server until then and where it does not. What another program has grabbed
/// already is said in the log, once, and the others work. With neither portal nor X server nothing happens.
///
/// A portal that is started again binds them again. A key that is held down counts once.
///
/// Threads: made and destroyed on `executor`, where `pressed` is called, and never after the destruction.
/// Nothing here waits for the bus or, but for the end of the grabs, the X server.
class GlobalShortcuts {
public:
    using Pressed = std::function<void(const std::string& id)>;

    /// `bus` must outlive this.
    GlobalShortcuts(BusThread& bus, SerialExecutor executor, std::vector<Shortcut> shortcuts,
                    Pressed pressed);
    ~GlobalShortcuts();
    GlobalShortcuts(const GlobalShortcuts&) = delete;
    GlobalShortcuts& operator=(const GlobalShortcuts&) = delete;

private:
    class Listener;
    BusThread& bus_;
    const PostedCallback<std::string> pressed_;
    std::unique_ptr<Listener> listener_;  ///< on the bus's thread
};

}  // namespace tarn
