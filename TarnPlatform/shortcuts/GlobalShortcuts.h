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

/// Keys that work whichever program has the keyboard focus: through the desktop's portal where that binds
/// them, and by grabs at the X server until then and where it does not. A key that another program has
/// grabbed is named in the log, once, and the others work. With neither portal nor X server nothing happens.
///
/// A portal that is started again binds them again. A key that is held down counts once.
///
/// Threads: made and destroyed on `executor`, where `pressed` is called, and never after the destruction.
/// Nothing here waits for the bus. The destructor waits for the X server where it still answers a grab.
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
