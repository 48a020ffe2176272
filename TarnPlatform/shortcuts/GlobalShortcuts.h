#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/Asio.h"
#include "Trigger.h"

namespace tarn {

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
/// Threads: made and destroyed on `executor`, where `pressed` is called, and never after the destruction. A
/// thread of its own waits for the desktop.
class GlobalShortcuts {
public:
    using Pressed = std::function<void(const std::string& id)>;

    GlobalShortcuts(SerialExecutor executor, std::vector<Shortcut> shortcuts, Pressed pressed);
    ~GlobalShortcuts();
    GlobalShortcuts(const GlobalShortcuts&) = delete;
    GlobalShortcuts& operator=(const GlobalShortcuts&) = delete;

private:
    class Listener;
    std::shared_ptr<Listener> listener_;
};

}  // namespace tarn
