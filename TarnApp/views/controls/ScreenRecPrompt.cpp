#include "ScreenRecPrompt.h"

#include <chrono>
#include <utility>

#include "TarnApp/relaunch/AppRelaunch.h"
#include "TarnApp/relaunch/ScreenRecordingPermission.h"

namespace tarn {

ScreenRecPrompt::~ScreenRecPrompt() {
    pollTask_.cancel();
}

void ScreenRecPrompt::setViewModel(TranslateViewModel* value) {
    if (viewModel_ != value) {
        viewModel_ = value;
        startPolling();
        Q_EMIT viewModelChanged();
    }
}

void ScreenRecPrompt::setShown(bool value) {
    if (std::exchange(isShown_, value) != value) {
        if (value) {
            setGranted(false);
        }
        startPolling();
        Q_EMIT shownChanged();
    }
}

void ScreenRecPrompt::cancel() {
    if (viewModel_) {
        viewModel_->setScreenRecNeededEvent(false);
    }
}

void ScreenRecPrompt::openSettings() {
    if (viewModel_) {
        ScreenRecordingPermission::openSettings(*viewModel_->services().session.urlOpener);
        startPolling();
    }
}

void ScreenRecPrompt::relaunch() {
    if (!AppRelaunch::relaunch() && viewModel_ && viewModel_->services().session.screenCapture->preflight()) {
        cancel();
    }
}

void ScreenRecPrompt::startPolling() {
    pollTask_.cancel();
    if (viewModel_ && isShown_) {
        const SessionServices& services = viewModel_->services().session;
        pollTask_ = TaskHandle::start(services.main, poll(this, services));
    }
}

Task<void> ScreenRecPrompt::poll(QPointer<ScreenRecPrompt> weak, SessionServices services) {
    while (weak) {
        if (weak->isShown_ && services.screenCapture->preflight()) {
            if (weak->granted_) {
                weak->cancel();  // it has been seen that the cause is gone
                co_return;
            }
            weak->setGranted(true);
        }
        co_await sleepFor(services.clock, std::chrono::seconds(1));
    }
}

void ScreenRecPrompt::setGranted(bool value) {
    if (std::exchange(granted_, value) != value) {
        Q_EMIT grantedChanged();
    }
}

}  // namespace tarn
