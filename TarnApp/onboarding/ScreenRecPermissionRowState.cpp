#include "ScreenRecPermissionRowState.h"

#include <chrono>
#include <utility>

#include "TarnApp/relaunch/AppRelaunch.h"
#include "TarnApp/session/PermissionSettings.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds betweenChecks{1};

}  // namespace

ScreenRecPermissionRowState::~ScreenRecPermissionRowState() {
    pollTask_.cancel();
}

QString ScreenRecPermissionRowState::phaseText() const {
    switch (phase_) {
        case idle:
            return QStringLiteral("idle");
        case waiting:
            return QStringLiteral("waiting");
        case granted:
            break;
    }
    return QStringLiteral("granted");
}

bool ScreenRecPermissionRowState::preflight() const {
    return viewModel() && viewModel()->services().session.screenCapture->preflight();
}

void ScreenRecPermissionRowState::setPhase(Phase value) {
    phase_ = value;
    hasAccess_ = preflight();
    Q_EMIT changed();
}

void ScreenRecPermissionRowState::appeared() {
    setPhase(preflight() ? granted : phase_);
    if (phase_ == waiting) {
        startPolling();
    }
}

void ScreenRecPermissionRowState::disappeared() {
    ++pollNumber_;
    pollTask_.cancel();
}

void ScreenRecPermissionRowState::grant() {
    if (!viewModel()) {
        return;
    }
    const auto& services = viewModel()->services().session;
    if (services.screenCapture->request() && preflight()) {
        setPhase(granted);
        return;
    }
    ScreenRecordingPermission::openSettings(*services.urlOpener);
    setPhase(waiting);
    startPolling();
}

void ScreenRecPermissionRowState::relaunch() {
    if (!AppRelaunch::relaunch() && preflight()) {
        setPhase(granted);
    }
}

void ScreenRecPermissionRowState::startPolling() {
    if (!viewModel()) {
        return;
    }
    const auto& services = viewModel()->services().session;
    pollTask_.cancel();
    pollTask_ = TaskHandle::start(services.main, poll(QPointer(this), services.clock, ++pollNumber_));
}

Task<void> ScreenRecPermissionRowState::poll(QPointer<ScreenRecPermissionRowState> self,
                                             std::shared_ptr<Clock> clock, std::uint64_t number) {
    for (;;) {
        co_await sleepFor(clock, betweenChecks);
        if (!self || self->isDecided(number)) {
            co_return;
        }
    }
}

bool ScreenRecPermissionRowState::isDecided(std::uint64_t number) {
    // A sleep that has ended can no longer be cancelled, so an older poll is told by its number.
    if (number != pollNumber_) {
        return true;
    }
    if (preflight()) {
        setPhase(granted);
    }
    return phase_ == granted;
}

}  // namespace tarn
