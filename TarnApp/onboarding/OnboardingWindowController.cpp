#include "OnboardingWindowController.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <utility>

#include "TarnApp/views/style/WindowOnDemand.h"

namespace tarn {
OnboardingWindowController::OnboardingWindowController(QQmlEngine& engine,
                                                       std::shared_ptr<TranslateViewModel> vm,
                                                       std::shared_ptr<OnboardingCoordinator> coordinator,
                                                       LocalizationManager& localization,
                                                       std::function<void(bool)> closed)
    : onClose(std::move(closed)),
      vm_(std::move(vm)),
      coordinator_(std::move(coordinator)),
      localization_(localization) {
    QQmlEngine::setObjectOwnership(vm_.get(), QQmlEngine::CppOwnership);
    QQmlEngine::setObjectOwnership(coordinator_.get(), QQmlEngine::CppOwnership);
    window_ = makeWindow(engine, "qrc:/qt/qml/Tarn/Onboarding/OnboardingWindow.qml",
                         {{"vm", QVariant::fromValue(vm_.get())},
                          {"onboarding", QVariant::fromValue(coordinator_.get())},
                          {"title", localization_.onboardingWindowTitle()}},
                         "[onboarding]");
    if (window_) {
        // The old syntax is needed because the type of the event is private to Qt.
        connect(window_.get(), SIGNAL(closing(QQuickCloseEvent*)), this, SLOT(windowWillClose()));
    }
}

OnboardingWindowController::~OnboardingWindowController() = default;

void OnboardingWindowController::centre() {
    if (window_ && window_->screen() != nullptr) {
        // A hidden window has no frame yet, so its own corner is placed.
        QRect frame(QPoint(), window_->size());
        frame.moveCenter(window_->screen()->availableGeometry().center());
        window_->setFramePosition(frame.topLeft());
    }
}

void OnboardingWindowController::showInFront() {
    if (window_) {
        if (!window_->isVisible()) {
            centre();
        }
        window_->show();
        window_->raise();
        window_->requestActivate();
    }
}

void OnboardingWindowController::close() {
    if (window_) {
        window_->close();
    }
}

void OnboardingWindowController::windowWillClose() {
    if (!std::exchange(didNotifyClose, true) && onClose) {
        onClose(false);
    }
}

}  // namespace tarn
