#include "OnboardingViewState.h"

#include <utility>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

void OnboardingViewState::setCoordinator(OnboardingCoordinator* value) {
    if (!replaceFollowed(coordinator_, value, this)) {
        return;
    }
    if (value != nullptr) {
        connect(value, &OnboardingCoordinator::manuallyReopenedChanged, this,
                &OnboardingViewState::followReopening);
    }
    followReopening();
    Q_EMIT coordinatorChanged();
}

void OnboardingViewState::back() {
    if (page_ >= 1) {
        setPage(page_ - 1);
    }
}

void OnboardingViewState::next() {
    if (page_ < lastPage) {
        setPage(page_ + 1);
    }
}

void OnboardingViewState::finish() {
    if (coordinator_) {
        coordinator_->finish();
    }
}

void OnboardingViewState::appeared() {
    isShown_ = true;
    followReopening();
}

void OnboardingViewState::disappeared() {
    if (std::exchange(isShown_, false) && coordinator_) {
        coordinator_->setManuallyReopened(false);
    }
}

void OnboardingViewState::followReopening() {
    if (isShown_ && coordinator_ && coordinator_->manuallyReopened()) {
        setPage(lastPage);
    }
}

void OnboardingViewState::setPage(int value) {
    if (page_ != value) {
        page_ = value;
        Q_EMIT pageChanged();
    }
}

}  // namespace tarn
