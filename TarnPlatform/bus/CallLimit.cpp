#include "CallLimit.h"

#include <set>
#include <utility>

namespace tarn {
namespace {

/// The calls under way.
struct Calls {
    std::mutex mutex;
    std::set<CallLimit*> all;
    bool promptsAreOver = false;
};

Calls& calls() {
    // Never destroyed: a call may be under way while the process ends.
    static auto* const instance = new Calls;
    return *instance;
}

}  // namespace

CallLimit::CallLimit(std::chrono::milliseconds limit)
    : limit_(limit), deadline_(std::chrono::steady_clock::now() + limit), watcher_([this] { watch(); }) {
    const std::lock_guard lock(calls().mutex);
    calls().all.insert(this);
}

CallLimit::~CallLimit() {
    {
        const std::lock_guard lock(calls().mutex);
        calls().all.erase(this);
    }
    {
        const std::lock_guard lock(mutex_);
        finished_ = true;
    }
    changed_.notify_one();
    watcher_.join();
}

bool CallLimit::hasPassed() const {
    const std::lock_guard lock(mutex_);
    return passed_;
}

void CallLimit::promptBegins() {
    const std::lock_guard all(calls().mutex);
    {
        const std::lock_guard lock(mutex_);
        promptIsUp_ = true;
    }
    // The process is ending: no prompt may keep it.
    if (calls().promptsAreOver) {
        giveUpPrompt();
    }
    changed_.notify_one();
}

void CallLimit::endPrompts() {
    const std::lock_guard all(calls().mutex);
    calls().promptsAreOver = true;
    for (auto* const call : calls().all) {
        call->giveUpPrompt();
    }
}

// The limit is over at once, so that the call ends as if it had taken too long.
void CallLimit::giveUpPrompt() {
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(promptIsUp_, false)) {
            return;
        }
        deadline_ = std::chrono::steady_clock::now();
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

// A blocking call of GLib runs no main context that a timer of ours could be in, so a thread watches the
// time.
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
            g_cancellable_cancel(cancellable_.get());
            return;
        }
    }
}

}  // namespace tarn
