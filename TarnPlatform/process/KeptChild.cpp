#include "KeptChild.h"

namespace tarn {
namespace {

constexpr int kFreeStarts = 2;
constexpr auto kPause = std::chrono::seconds(1);

}  // namespace

Result<ChildProcess*> KeptChild::child() {
    if (child_) {
        return child_.get();
    }
    if (pausing()) {
        return failure(ErrorKind::unavailable,
                       "has failed at every start (" + lastFailure_ + ") and is tried again in a second");
    }
    ++fruitlessStarts_;
    lastStart_ = std::chrono::steady_clock::now();
    auto started = ChildProcess::start(command_);
    if (!started) {
        lastFailure_ = started.error().description;
        return std::unexpected(started.error());
    }
    child_ = std::move(*started);
    return child_.get();
}

void KeptChild::answered() {
    fruitlessStarts_ = 0;
}

bool KeptChild::pausing() const {
    return !child_ && fruitlessStarts_ >= kFreeStarts &&
           std::chrono::steady_clock::now() < lastStart_ + kPause;
}

}  // namespace tarn
