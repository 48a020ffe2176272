#include "MicPermissionRowState.h"

#include <chrono>
#include <utility>

#include "TarnApp/session/PermissionSettings.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds betweenChecks{1};
constexpr int mostChecks = 120;

bool isRefused(AuthorizationStatus status) {
    return status == AuthorizationStatus::denied || status == AuthorizationStatus::restricted;
}

}  // namespace

MicPermissionRowState::~MicPermissionRowState() {
    requestTask_.cancel();
    pollTask_.cancel();
}

AuthorizationStatus MicPermissionRowState::status() const {
    return viewModel() ? viewModel()->services().session.microphoneStatus()
                       : AuthorizationStatus::notDetermined;
}

void MicPermissionRowState::appeared() {
    const auto now = status();
    granted_ = now == AuthorizationStatus::authorized;
    denied_ = isRefused(now);
    Q_EMIT changed();
}

void MicPermissionRowState::grant() {
    if (requesting_ || !viewModel()) {
        return;
    }
    requesting_ = true;
    Q_EMIT changed();
    const auto& services = viewModel()->services().session;
    requestTask_ = TaskHandle::start(services.main, request(QPointer(this), services.requestMicrophone()));
}

Task<void> MicPermissionRowState::request(QPointer<MicPermissionRowState> self, Task<bool> question) {
    const bool allowed = co_await std::move(question);
    if (self) {
        self->answered(allowed);
    }
}

void MicPermissionRowState::answered(bool allowed) {
    requesting_ = false;
    if (allowed) {
        granted_ = true;
    } else {
        denied_ = isRefused(status());
    }
    Q_EMIT changed();
}

void MicPermissionRowState::openSettings() {
    if (!viewModel()) {
        return;
    }
    const auto& services = viewModel()->services().session;
    MicDenialHelp::openSettingsIfNeeded(status(), *services.urlOpener);
    pollTask_.cancel();
    pollTask_ = TaskHandle::start(services.main, poll(QPointer(this), services.clock, ++pollNumber_));
}

Task<void> MicPermissionRowState::poll(QPointer<MicPermissionRowState> self, std::shared_ptr<Clock> clock,
                                       std::uint64_t number) {
    for (int check = 0; check < mostChecks; ++check) {
        co_await sleepFor(clock, betweenChecks);
        if (!self || self->isDecided(number)) {
            co_return;
        }
    }
}

bool MicPermissionRowState::isDecided(std::uint64_t number) {
    // A sleep that has ended can no longer be cancelled, so an older poll is told by its number.
    if (granted_ || number != pollNumber_) {
        return true;
    }
    if (status() != AuthorizationStatus::authorized) {
        return false;
    }
    granted_ = true;
    denied_ = false;
    Q_EMIT changed();
    return true;
}

}  // namespace tarn
