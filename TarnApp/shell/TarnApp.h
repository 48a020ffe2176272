#pragma once

#include <QQuickWindow>
#include <memory>
#include <string>
#include <vector>

#include "AppDelegate.h"
#include "GlobalKeys.h"
#include "MainWindowLoader.h"
#include "TarnApp/elsewhere/SubtitlesElsewhere.h"
#include "TarnApp/look/SubtitleLook.h"
#include "TarnApp/views/record/RecordWindowController.h"
#include "TarnApp/views/style/WindowOnDemand.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/desktop/DesktopAppearance.h"
#include "Tray.h"

namespace tarn {

/// The application: the three objects that live as long as it does, and its one main window.
/// Thread: main, after the `QGuiApplication` has been made.
class TarnApp {
public:
    /// The others must outlive this.
    TarnApp(const ViewModelServices& services, BusThread& bus, MainWindowLoader& loader);
    ~TarnApp();
    TarnApp(const TarnApp&) = delete;
    TarnApp& operator=(const TarnApp&) = delete;

    /// Whether the main window shows the onboarding pages: TARN_PREVIEW_ONBOARDING is "1". Read afresh each
    /// time.
    static bool previewOnboarding();

    /// Makes the main window and shows it. False, after one line, where it cannot be made.
    bool open();

    // What the desktop and other starts of the program ask for.
    void activate();
    void openUrls(const std::vector<std::string>& urls);
    /// "start", "stop", "start-stop", "add-source", "mini-mode", "click-through", "record", "look",
    /// "elsewhere", "show", "quit"; others do nothing.
    void perform(const std::string& action);

    /// Ends every run and waits, a second at most, until what they changed on the desktop is as it was.
    void stopSessions();

    const std::shared_ptr<TranslateViewModel>& viewModel() const { return vm_; }
    QQuickWindow* mainWindow() const { return mainWindow_.get(); }

private:
    void followDesktop();
    void appeared();
    void appearElsewhere();
    void makeWindow(const std::string& name);

    BusThread& bus_;
    LocalizationManager localization_;
    std::shared_ptr<TranslateViewModel> vm_;
    std::shared_ptr<OnboardingCoordinator> onboarding_;
    DesktopAppearance appearance_;
    SubtitleLook look_;
    MainWindowLoader& loader_;
    AppDelegate appDelegate_;
    std::unique_ptr<QQuickWindow> mainWindow_;
    std::unique_ptr<RecordWindowController> record_;  ///< once it was wanted
    WindowOnDemand lookWindow_;
    std::unique_ptr<SubtitlesElsewhere> elsewhere_;  ///< once the main window was shown
    WindowOnDemand elsewhereWindow_;
    std::unique_ptr<Tray> tray_;
    std::unique_ptr<GlobalKeys> keys_;
};

}  // namespace tarn
