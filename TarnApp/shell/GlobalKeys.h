#pragma once

#include <functional>
#include <string>
#include <vector>

#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/settings/UserDefaults.h"
#include "TarnPlatform/shortcuts/GlobalShortcuts.h"

namespace tarn {

/// The keys that work whichever program has the keyboard focus. Each has a setting, "globalShortcuts." and
/// its id: another key, or an empty text, which turns it off. They are read once. Thread: main.
class GlobalKeys {
public:
    using Perform = std::function<void(const std::string& id)>;

    /// `bus` must outlive this. `perform` gets "start-stop", "mini-mode", "click-through" or "show".
    GlobalKeys(BusThread& bus, SerialExecutor main, const UserDefaults& defaults, Perform perform);

    /// The keys that are on. A setting that is not a key is logged, and the default is used in its place.
    static std::vector<Shortcut> shortcuts(const UserDefaults& defaults);

private:
    GlobalShortcuts shortcuts_;
};

}  // namespace tarn
