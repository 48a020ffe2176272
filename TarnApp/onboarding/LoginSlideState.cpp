#include "LoginSlideState.h"

#include "TarnApp/server/Keychain.h"

namespace tarn {

void LoginSlideState::setViewModel(TranslateViewModel* value) {
    viewModel_ = value;
    Q_EMIT viewModelChanged();
}

void LoginSlideState::setCoordinator(OnboardingCoordinator* value) {
    if (coordinator_ == value) {
        return;
    }
    if (coordinator_) {
        disconnect(coordinator_, nullptr, this, nullptr);
    }
    coordinator_ = value;
    if (value != nullptr) {
        connect(value, &OnboardingCoordinator::isLoggedInChanged, this, &LoginSlideState::followSignIn);
    }
    followSignIn();
    Q_EMIT coordinatorChanged();
}

void LoginSlideState::setShowWhy(bool value) {
    if (showWhy_ != value) {
        showWhy_ = value;
        Q_EMIT showWhyChanged();
    }
}

void LoginSlideState::signIn() {
    if (!waiting_) {
        waiting_ = true;
        Q_EMIT waitingChanged();
    }
    if (viewModel_) {
        viewModel_->startSignIn();
    }
}

void LoginSlideState::followSignIn() {
    isLoggedIn_ = coordinator_ && coordinator_->isLoggedIn();
    email_ = isLoggedIn_ ? QString::fromStdString(Keychain::get(Keychain::Account::userEmail).value_or(""))
                         : QString();
    Q_EMIT signInChanged();
}

}  // namespace tarn
