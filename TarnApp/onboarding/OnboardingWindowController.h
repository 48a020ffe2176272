#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "OnboardingCoordinator.h"
#include "TarnApp/localization/LocalizationManager.h"
#include "TarnApp/session/TranslateViewModel.h"

class QQmlEngine;
class QQuickWindow;

namespace tarn {

/// The onboarding window: made hidden, shown, closed and shown again as the application likes. Its title
/// stays in the language that it was made in. Thread: main.
class OnboardingWindowController : public QObject {
    Q_OBJECT

public:
    /// `onClose` hears of the end of a showing: true where onboarding was finished, false where the window
    /// was closed otherwise. `localization` and `engine` must outlive this object. Requires:
    /// `registerOnboardingModule` has been called, and `Loc` names `localization`.
    OnboardingWindowController(QQmlEngine& engine, std::shared_ptr<TranslateViewModel> vm,
                               std::shared_ptr<OnboardingCoordinator> coordinator,
                               LocalizationManager& localization, std::function<void(bool)> onClose);
    ~OnboardingWindowController() override;

    QQuickWindow* window() const { return window_.get(); }  ///< owned by this object

    void centre();  ///< on the screen that it is on, what panels take left out
    /// Shows it in front of others and with the keys; in the centre, where it was not up.
    void showInFront();
    void close();  ///< as its close button does

    std::function<void(bool)> onClose;
    bool didNotifyClose = false;  ///< this showing has been reported

public Q_SLOTS:
    /// The window is about to close. Reports it where that has not been done in this showing.
    void windowWillClose();

private:
    const std::shared_ptr<TranslateViewModel> vm_;
    const std::shared_ptr<OnboardingCoordinator> coordinator_;
    LocalizationManager& localization_;
    std::unique_ptr<QQuickWindow> window_;
};

}  // namespace tarn
