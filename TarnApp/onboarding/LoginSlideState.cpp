#include "LoginSlideState.h"

#include <utility>

namespace tarn {

void LoginSlideState::modelReplaced(TranslateViewModel* model) {
    if (model != nullptr) {
        connect(model, &TranslateViewModel::accountChanged, this, &LoginSlideState::followSignIn);
    }
    followSignIn();
}

void LoginSlideState::setCoordinator(OnboardingCoordinator* value) {
    if (!replaceFollowed(coordinator_, value, this)) {
        return;
    }
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

QStringList LoginSlideState::providers() const {
    QStringList list;
    if (viewModel()) {
        for (const auto& provider : viewModel()->services().signInProviders) {
            list.append(QString::fromStdString(provider));
        }
    }
    return list;
}

void LoginSlideState::signIn() {
    setWaiting(viewModel() && viewModel()->startSignIn());
}

void LoginSlideState::setWaiting(bool value) {
    if (std::exchange(waiting_, value) != value) {
        Q_EMIT waitingChanged();
    }
}

void LoginSlideState::followSignIn() {
    isLoggedIn_ = coordinator_ && coordinator_->isLoggedIn();
    email_.clear();
    Q_EMIT signInChanged();
    if (!isLoggedIn_ || !viewModel()) {
        return;
    }
    if (const auto& account = viewModel()->account()) {  // the server knows better than the link
        setEmail(account->email);
        return;
    }
    viewModel()->services().credentials->tellEmail(
        [self = QPointer(this)](const std::optional<std::string>& email) {
            if (self && self->isLoggedIn_ && self->email_.isEmpty()) {
                self->setEmail(email.value_or(""));
            }
        });
}

void LoginSlideState::setEmail(const std::string& email) {
    email_ = QString::fromStdString(email);
    Q_EMIT signInChanged();
}

}  // namespace tarn
