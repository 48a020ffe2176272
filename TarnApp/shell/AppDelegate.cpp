#include "AppDelegate.h"

#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/views/style/PopoverGuard.h"

namespace tarn {
namespace {

constexpr const char* mainIdentifier = "tarn-main";
constexpr const char* frameName = "TarnMainWindow";
constexpr const char* frameNameProperty = "frameAutosaveName";
constexpr QSize minimumSize(480, 140);
constexpr int cornerRadius = 12;

}  // namespace

AppDelegate::AppDelegate(QQmlEngine& engine, const ViewModelServices& services)
    : engine_(engine), frame_(frameName, services.defaults, services.session.main, services.session.clock) {
    urlSchemeHandler_.bringToFront = [this] { bringToFront(); };
}

AppDelegate::~AppDelegate() {
    disconnect(reopenCancellable_);
}

void AppDelegate::configureOnboarding(const std::shared_ptr<TranslateViewModel>& vm,
                                      const std::shared_ptr<OnboardingCoordinator>& coordinator,
                                      LocalizationManager& localization) {
    const bool isWired = !coordinator_.expired();
    vm_ = vm;
    coordinator_ = coordinator;
    localization_ = &localization;
    if (isWired) {
        return;
    }
    connect(&localization, &LocalizationManager::languageChanged, this, &AppDelegate::languageChanged);
    coordinator->onFinish = [self = QPointer(this)] {
        if (!self || !self->onboardingWC_) {
            return;
        }
        auto& controller = *self->onboardingWC_;
        if (!controller.didNotifyClose) {
            controller.didNotifyClose = true;
            controller.onClose(true);
        }
        controller.close();
    };
    // The signal comes only when the value changes.
    reopenCancellable_ =
        connect(coordinator.get(), &OnboardingCoordinator::manuallyReopenedChanged, this, [this] {
            const auto now = coordinator_.lock();
            if (now && now->manuallyReopened()) {
                showOnboarding();
            }
        });
    if (coordinator->shouldShowOnboarding()) {
        QTimer::singleShot(0, this, &AppDelegate::showOnboarding);
    }
}

void AppDelegate::showOnboarding() {
    const auto vm = vm_.lock();
    const auto coordinator = coordinator_.lock();
    if (!vm || !coordinator || localization_ == nullptr) {
        return;
    }
    onboardingActive_ = true;
    if (QWindow* const window = mainOverlayWindow()) {
        window->hide();
    }
    if (!onboardingWC_) {
        onboardingWC_ = std::make_unique<OnboardingWindowController>(engine_, vm, coordinator, *localization_,
                                                                     [self = QPointer(this)](bool) {
                                                                         if (self) {
                                                                             self->onboardingClosed();
                                                                         }
                                                                     });
    }
    onboardingWC_->didNotifyClose = false;
    onboardingWC_->centre();
    onboardingWC_->showInFront();
}

void AppDelegate::onboardingClosed() {
    onboardingActive_ = false;
    bringToFront();
}

QWindow* AppDelegate::mainOverlayWindow() const {
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
        if (window->objectName().contains(QLatin1String(mainIdentifier)) ||
            window->property(frameNameProperty).toString() == QLatin1String(frameName)) {
            return window;
        }
    }
    return nullptr;
}

void AppDelegate::setClickThrough(bool value) {
    if (value == overlay_.clickThrough() || (value && onboardingActive_)) {
        return;
    }
    if (value) {
        // Popovers are windows of their own, which would still take clicks.
        PopoverGuard::dismissAll();
    }
    overlay_.setClickThrough(value);
    if (const auto vm = vm_.lock()) {
        vm->showToast(shown(value ? AddedText::clickThroughOn : AddedText::clickThroughOff));
    }
}

QString AppDelegate::clickThroughText() {
    return shown(AddedText::trayClickThrough);
}

void AppDelegate::openWindow(const QString& name) const {
    if (makeWindow && !onboardingActive_) {
        makeWindow(name.toStdString());
    }
}

void AppDelegate::bringToFront() {
    setClickThrough(false);
    if (onboardingActive_ && onboardingWC_) {
        onboardingWC_->showInFront();
    } else if (QWindow* const window = mainOverlayWindow()) {
        window->show();
        window->raise();
        overlay_.activate();
    }
}

void AppDelegate::style(QWindow* window) {
    window->setObjectName(QLatin1String(mainIdentifier));
    window->setProperty(frameNameProperty, QLatin1String(frameName));
    overlay_.style(
        window, {.minimumSize = window->minimumSize().expandedTo(minimumSize), .cornerRadius = cornerRadius});
    frame_.attach(window);
}

void AppDelegate::styleOnboarding(QWindow* window) {
    // The window manager gives this window a title bar and buttons, unlike the main window.
    window->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
}

void AppDelegate::mainWindowClosed() {
    if (applicationShouldTerminateAfterLastWindowClosed() && terminate) {
        terminate();
    }
}

}  // namespace tarn
