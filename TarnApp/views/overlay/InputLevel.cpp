#include "InputLevel.h"

#include <chrono>

namespace tarn {
namespace {

constexpr std::chrono::milliseconds shortest{40};

}  // namespace

void InputLevel::setSession(TranslateSession* value) {
    if (session_ == value) {
        return;
    }
    if (session_ != nullptr) {
        disconnect(session_, nullptr, this, nullptr);
    }
    session_ = value;
    nextAt_.reset();
    if (value != nullptr) {
        connect(value, &TranslateSession::inputLevelChanged, this, &InputLevel::follow);
        follow();
    }
    Q_EMIT sessionChanged();
}

void InputLevel::follow() {
    const float now = session_->inputLevel();
    if (now == level_) {
        return;
    }
    if (viewModel_ != nullptr) {
        const auto time = viewModel_->services().session.clock->now();
        if (now > 0 && nextAt_ && time < *nextAt_) {
            return;
        }
        nextAt_ = time + shortest;
    }
    level_ = now;
    Q_EMIT levelChanged();
}

}  // namespace tarn
