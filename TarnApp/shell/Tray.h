#pragma once

#include <QObject>
#include <functional>
#include <string>

#include "TarnApp/localization/LocalizationManager.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/desktop/TrayIcon.h"
#include "TarnPlatform/windows/FloatingOverlay.h"

namespace tarn {

/// What the tray shows and offers, following the program's state and language. Thread: main.
class Tray : public QObject {
    Q_OBJECT

public:
    /// `perform` gets the action that the user chose, by the names of `TarnApp::perform`. The others must
    /// outlive this.
    Tray(BusThread& bus, TranslateViewModel& vm, FloatingOverlay& overlay, LocalizationManager& localization,
         std::function<void(const std::string& action)> perform);

private:
    void follow();
    TrayContent content() const;

    TranslateViewModel& vm_;
    FloatingOverlay& overlay_;
    TrayIcon icon_;
};

}  // namespace tarn
