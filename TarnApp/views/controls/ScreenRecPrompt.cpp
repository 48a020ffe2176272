#include "ScreenRecPrompt.h"

#include <chrono>
#include <utility>

#include "TarnApp/relaunch/AppRelaunch.h"
#include "TarnApp/session/PermissionSettings.h"

namespace tarn {

ScreenRecPrompt::~ScreenRecPrompt() {
    pollTask_.cancel();
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
    if (viewModel()) {
        viewModel()->setScreenRecNeededEvent(false);
    }
}

void ScreenRecPrompt::openSettings() {
    if (viewModel()) {
        ScreenRecordingPermission::openSettings(*viewModel()->services().session.urlOpener);
        startPolling();
    }
}

void ScreenRecPrompt::relaunch() {
    if (!AppRelaunch::relaunch() && viewModel() &&
        viewModel()->services().session.screenCapture->preflight()) {
        cancel();
    }
}

void ScreenRecPrompt::startPolling() {
    pollTask_.cancel();
    if (viewModel() && isShown_) {
        const SessionServices& services = viewModel()->services().session;
        pollTask_ = TaskHandle::start(services.main, poll(this, services));
    }
}

Task<void> ScreenRecPrompt::poll(QPointer<ScreenRecPrompt> weak, SessionServices services) {
    while (weak) {
        if (weak->isShown_ && services.screenCapture->preflight()) {
            if (weak->granted_) {
                weak->cancel();  // the user has had a second to see that access is there
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
