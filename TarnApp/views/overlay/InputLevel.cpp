#include "InputLevel.h"

#include <chrono>

namespace tarn {
namespace {

constexpr std::chrono::milliseconds shortest{40};

}  // namespace

void InputLevel::sessionReplaced(TranslateSession* session) {
    nextAt_.reset();
    if (session != nullptr) {
        connect(session, &TranslateSession::inputLevelChanged, this, &InputLevel::follow);
        follow();
    }
}

void InputLevel::follow() {
    const float now = session()->inputLevel();
    if (now == level_) {
        return;
    }
    if (viewModel() != nullptr) {
        const auto time = viewModel()->services().session.clock->now();
        if (now > 0 && nextAt_ && time < *nextAt_) {
            return;
        }
        nextAt_ = time + shortest;
    }
    level_ = now;
    Q_EMIT levelChanged();
}

}  // namespace tarn
