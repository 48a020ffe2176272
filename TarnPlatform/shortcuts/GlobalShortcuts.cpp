#include "GlobalShortcuts.h"

#include <optional>
#include <utility>

#include "KeyGrabs.h"
#include "ShortcutPortal.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {

/// Thread: the bus's. The grabs wait there for answers of the X server, which holds up no other part in a way
/// that matters: where that server hangs, no key arrives, no icon is shown, and the main thread hangs too.
class GlobalShortcuts::Listener {
public:
    Listener(BusConnection& bus, std::vector<Shortcut> shortcuts,
             std::function<void(const std::string& id)> pressed)
        : shortcuts_(std::move(shortcuts)), pressed_(std::move(pressed)) {
        grab();
        portal_.emplace(bus, shortcuts_, pressed_,
                        [this](bool isBound) { isBound ? grabs_.reset() : grab(); });
    }

private:
    void grab() {
        if (!grabs_) {
            grabs_.emplace(shortcuts_, pressed_);
        }
    }

    const std::vector<Shortcut> shortcuts_;
    const std::function<void(const std::string& id)> pressed_;
    std::optional<KeyGrabs> grabs_;
    std::optional<ShortcutPortal> portal_;
};

GlobalShortcuts::GlobalShortcuts(BusThread& bus, SerialExecutor executor, std::vector<Shortcut> shortcuts,
                                 Pressed pressed)
    : bus_(bus), pressed_(std::move(executor), std::move(pressed)) {
    if (!shortcuts.empty()) {
        bus_.post([this, shortcuts = std::move(shortcuts)](BusConnection& connection) {
            listener_ = std::make_unique<Listener>(connection, shortcuts, pressed_.poster());
        });
    }
}

GlobalShortcuts::~GlobalShortcuts() {
    bus_.run([this](BusConnection&) { listener_.reset(); });
}

}  // namespace tarn
