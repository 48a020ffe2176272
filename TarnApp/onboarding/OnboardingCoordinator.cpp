#include "OnboardingCoordinator.h"

#include <QPointer>
#include <utility>

namespace tarn {
namespace {

constexpr std::string_view doneKey = "onboarding.done";
constexpr std::string_view stepKey = "onboarding.step";

}  // namespace

OnboardingCoordinator::OnboardingCoordinator(std::shared_ptr<UserDefaults> defaults,
                                             std::shared_ptr<Credentials> credentials)
    : defaults_(std::move(defaults)), credentials_(std::move(credentials)) {
    recompute();
}

void OnboardingCoordinator::recompute() {
    credentials_->tellToken([self = QPointer(this)](const TokenResult& token) {
        if (self && token) {
            self->setIsLoggedIn(token->has_value());
        }
    });
    setStep(defaults_->boolean(doneKey).value_or(false) ? OnboardingStep::ready : OnboardingStep::running);
}

void OnboardingCoordinator::setStep(OnboardingStep value) {
    const bool changes = step_ != value;
    step_ = value;
    defaults_->set(stepKey, rawValue(value));
    if (changes) {
        Q_EMIT stepChanged();
        Q_EMIT shouldShowOnboardingChanged();
    }
}

void OnboardingCoordinator::setManuallyReopened(bool value) {
    if (manuallyReopened_ != value) {
        manuallyReopened_ = value;
        Q_EMIT manuallyReopenedChanged();
        Q_EMIT shouldShowOnboardingChanged();
    }
}

void OnboardingCoordinator::setIsLoggedIn(bool value) {
    isLoggedIn_ = value;
    Q_EMIT isLoggedInChanged();
}

void OnboardingCoordinator::finish() {
    defaults_->set(doneKey, true);
    setManuallyReopened(false);
    setStep(OnboardingStep::ready);
    // The action may close the window whose button is being pressed and replace `onFinish`, so a copy runs.
    if (const auto action = onFinish) {
        action();
    }
}

}  // namespace tarn
