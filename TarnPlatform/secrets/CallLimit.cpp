#include "CallLimit.h"

namespace tarn {
CallLimit::CallLimit(std::chrono::milliseconds limit)
    : limit_(limit),
      cancellable_(g_cancellable_new()),
      deadline_(std::chrono::steady_clock::now() + limit),
      watcher_([this] { watch(); }) {}

CallLimit::~CallLimit() {
    {
        const std::lock_guard lock(mutex_);
        finished_ = true;
    }
    changed_.notify_one();
    watcher_.join();
    g_object_unref(cancellable_);
}

bool CallLimit::hasPassed() const {
    const std::lock_guard lock(mutex_);
    return passed_;
}

void CallLimit::promptBegins() {
    {
        const std::lock_guard lock(mutex_);
        promptIsUp_ = true;
    }
    changed_.notify_one();
}

void CallLimit::promptEnds() {
    {
        const std::lock_guard lock(mutex_);
        promptIsUp_ = false;
        deadline_ = std::chrono::steady_clock::now() + limit_;
    }
    changed_.notify_one();
}

void CallLimit::watch() {
    std::unique_lock lock(mutex_);
    while (!finished_) {
        if (promptIsUp_) {
            changed_.wait(lock);
        } else if (std::chrono::steady_clock::now() < deadline_) {
            changed_.wait_until(lock, deadline_);
        } else {
            passed_ = true;
            lock.unlock();
            g_cancellable_cancel(cancellable_);
            return;
        }
    }
}

}  // namespace tarn
