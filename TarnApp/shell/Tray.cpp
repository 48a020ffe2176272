#include "Tray.h"

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TrayPicture.h"

namespace tarn {

Tray::Tray(BusThread& bus, TranslateViewModel& vm, FloatingOverlay& overlay,
           LocalizationManager& localization, std::function<void(const std::string& action)> perform)
    : vm_(vm),
      overlay_(overlay),
      icon_(bus, "tarn", vm.services().session.main,
            [perform = std::move(perform)](const std::string& row) { perform(row.empty() ? "show" : row); }) {
    connect(&vm_, &TranslateViewModel::canStopChanged, this, &Tray::follow);
    connect(&vm_, &TranslateViewModel::isLoggedInChanged, this, &Tray::follow);
    connect(&vm_, &TranslateViewModel::miniModeChanged, this, &Tray::follow);
    connect(&overlay_, &FloatingOverlay::clickThroughChanged, this, &Tray::follow);
    connect(&localization, &LocalizationManager::languageChanged, this, &Tray::follow);
    follow();
}

void Tray::follow() {
    icon_.show(content());
}

TrayContent Tray::content() const {
    const bool isRunning = vm_.canStop();
    TrayContent content;
    content.title = "Tarn";
    content.tooltip = text(isRunning ? LocKey::statusRunning : LocKey::statusIdle);
    content.pictures = trayPictures(isRunning);
    content.rows = {
        {.id = "start", .label = text(LocKey::start), .isEnabled = !isRunning && !vm_.isSignedOut()},
        {.id = "stop", .label = text(LocKey::stop), .isEnabled = isRunning},
        {},
        {.id = "mini-mode", .label = text(AddedText::trayMiniMode), .isChecked = vm_.miniMode()},
        {.id = "click-through",
         .label = text(AddedText::trayClickThrough),
         .isChecked = overlay_.clickThrough()},
        {},
        {.id = "record", .label = text(AddedText::recordTitle)},
        {.id = "show", .label = text(AddedText::trayShow)},
        {.id = "quit", .label = text(AddedText::trayQuit)},
    };
    return content;
}

}  // namespace tarn
