#include "GlobalKeys.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ShellTexts.h"
#include "TarnPlatform/logging/Log.h"

namespace tarn {
namespace {

struct Key {
    const char* id;
    ShellText description;
    const char* usual;
};
// Combinations that the usual desktops leave free. None with Shift: Alt+Shift and Ctrl+Shift change the
// layout for many who write in two scripts.
constexpr std::array<Key, 4> keys{{{"start-stop", ShellText::keyStartStop, "Ctrl+Alt+S"},
                                   {"mini-mode", ShellText::trayMiniMode, "Ctrl+Alt+M"},
                                   {"click-through", ShellText::trayClickThrough, "Ctrl+Alt+P"},
                                   {"show", ShellText::trayShow, "Ctrl+Alt+O"}}};

}  // namespace

GlobalKeys::GlobalKeys(SerialExecutor main, const UserDefaults& defaults, Perform perform)
    : shortcuts_(std::move(main), shortcuts(defaults), std::move(perform)) {}

std::vector<Shortcut> GlobalKeys::shortcuts(const UserDefaults& defaults) {
    std::vector<Shortcut> list;
    for (const auto& key : keys) {
        const std::string setting = std::string("globalShortcuts.") + key.id;
        const auto chosen = defaults.string(setting);
        if (chosen == "") {
            continue;
        }
        auto trigger = Trigger::parse(chosen.value_or(key.usual));
        if (!trigger || (!chosen && defaults.contains(setting))) {
            logLine("[shortcuts] " + setting + " is no key; it is " + key.usual);
            trigger = Trigger::parse(key.usual);
        }
        if (std::ranges::count(list, *trigger, &Shortcut::preferred) > 0) {
            logLine("[shortcuts] " + setting + " is another one's key, too; it is off");
            continue;
        }
        list.push_back({key.id, shellText(key.description), *trigger});
    }
    return list;
}

}  // namespace tarn
