#include "GlobalKeys.h"

#include <algorithm>
#include <array>
#include <utility>

#include "TarnApp/localization/AddedText.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

struct Key {
    const char* id;
    AddedText description;
    const char* usual;
};
// The usual desktops leave these combinations free. None has Shift, because Alt+Shift and Ctrl+Shift change
// the layout for many who write in two scripts.
constexpr std::array<Key, 5> keys{{{"start-stop", AddedText::keyStartStop, "Ctrl+Alt+S"},
                                   {"mini-mode", AddedText::trayMiniMode, "Ctrl+Alt+M"},
                                   {"click-through", AddedText::trayClickThrough, "Ctrl+Alt+P"},
                                   {"show", AddedText::trayShow, "Ctrl+Alt+O"},
                                   {"record", AddedText::recordTitle, ""}}};

}  // namespace

GlobalKeys::GlobalKeys(BusThread& bus, SerialExecutor main, const UserDefaults& defaults, Perform perform)
    : shortcuts_(bus, std::move(main), shortcuts(defaults), std::move(perform)) {}

std::vector<Shortcut> GlobalKeys::shortcuts(const UserDefaults& defaults) {
    std::vector<Shortcut> list;
    for (const auto& key : keys) {
        const std::string setting = std::string("globalShortcuts.") + key.id;
        const auto chosen = defaults.string(setting);
        if (chosen.value_or(key.usual).empty()) {
            continue;
        }
        auto trigger = Trigger::parse(chosen.value_or(key.usual));
        if (!trigger || (!chosen && defaults.contains(setting))) {
            logLine("[shortcuts] " + setting + " is no key; it is " + (*key.usual == 0 ? "off" : key.usual));
            trigger = Trigger::parse(key.usual);
            if (!trigger) {
                continue;
            }
        }
        if (std::ranges::count(list, *trigger, &Shortcut::preferred) > 0) {
            logLine("[shortcuts] " + setting + " is another one's key, too; it is off");
            continue;
        }
        list.push_back({key.id, text(key.description), *trigger});
    }
    return list;
}

}  // namespace tarn
