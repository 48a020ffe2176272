#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QWindow>
#include <functional>
#include <memory>
#include <string>

#include "TarnApp/localization/LocalizationManager.h"
#include "TarnApp/onboarding/OnboardingCoordinator.h"
#include "TarnApp/onboarding/OnboardingWindowController.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "TarnApp/session/URLSchemeHandler.h"
#include "TarnPlatform/windows/Compositor.h"
#include "TarnPlatform/windows/FloatingOverlay.h"
#include "TarnPlatform/windows/StackingWatch.h"
#include "TarnPlatform/windows/WindowFrame.h"

namespace tarn {

/// Decides when the onboarding window is shown, hides and brings back the main window around it, and makes
/// the main window the overlay that it is. One for the process. Thread: main.
class AppDelegate : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarn::WindowDrag* drag READ drag CONSTANT)
    Q_PROPERTY(tarn::FloatingOverlay* overlay READ overlay CONSTANT)
    Q_PROPERTY(QString clickThroughText READ clickThroughText NOTIFY languageChanged)

public:
    /// `engine` loads the onboarding window and must outlive this; `services` say where the main window's
    /// frame is kept.
    AppDelegate(QQmlEngine& engine, const ViewModelServices& services);
    ~AppDelegate() override;

    /// Called when the main view appears. The wiring is done the first time only. The coordinator and the
    /// localization must outlive this.
    void configureOnboarding(const std::shared_ptr<TranslateViewModel>& vm,
                             const std::shared_ptr<OnboardingCoordinator>& coordinator,
                             LocalizationManager& localization);
    /// Hides the main window and shows onboarding in its place. Nothing happens before `configureOnboarding`.
    void showOnboarding();

    /// Whether closing the last window ends the program: not while onboarding is up.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return !onboardingActive_; }

    /// The main window by its identifier or else by the name of its frame; null where there is none.
    QWindow* mainOverlayWindow() const;
    /// The main window, or onboarding while that is up, in front and with the keys. Ends click-through.
    void bringToFront();
    /// Lets clicks go through the overlay and says how that ends, or ends it.
    Q_INVOKABLE void setClickThrough(bool value);
    static QString clickThroughText();
    /// Opens another window than the main one: "record", "look", "elsewhere".
    Q_INVOKABLE void openWindow(const QString& name) const;

    /// Makes `window` the overlay; may be called again at any time.
    Q_INVOKABLE void style(QWindow* window);
    /// Makes `window` look as onboarding does, where the main window shows it.
    Q_INVOKABLE static void styleOnboarding(QWindow* window);
    /// The pointer's work on the overlay's background and edges.
    WindowDrag* drag() { return overlay_.drag(); }
    FloatingOverlay* overlay() { return &overlay_; }
    const Compositor& compositor() const { return compositor_; }
    /// The main window is closing: the end of the program, or the window just goes.
    Q_INVOKABLE void mainWindowClosed();

    URLSchemeHandler& urlSchemeHandler() { return urlSchemeHandler_; }

    std::function<void()> terminate;                          ///< ends the program
    std::function<void(const std::string& name)> makeWindow;  ///< opens one of the others

Q_SIGNALS:
    void languageChanged();

private:
    void onboardingClosed();

    QQmlEngine& engine_;
    URLSchemeHandler urlSchemeHandler_;
    const Compositor compositor_;
    const StackingWatch stacking_;
    FloatingOverlay overlay_{compositor_, stacking_};
    WindowFrame frame_;
    std::weak_ptr<TranslateViewModel> vm_;
    std::weak_ptr<OnboardingCoordinator> coordinator_;
    LocalizationManager* localization_ = nullptr;
    std::unique_ptr<OnboardingWindowController> onboardingWC_;
    QMetaObject::Connection reopenCancellable_;
    bool onboardingActive_ = false;
};

}  // namespace tarn
