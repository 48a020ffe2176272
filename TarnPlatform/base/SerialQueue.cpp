#include "SerialQueue.h"

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <optional>

namespace tarn {
namespace {

constexpr auto nowhere = std::numeric_limits<std::uint64_t>::max();

// The state of the queue whose thread this is.
thread_local const void* ownQueue = nullptr;

}  // namespace

struct SerialQueue::State {
    // One post for each piece of work and for each signal that found none pending. A semaphore and not a
    // condition variable, because it can be posted without a lock.
    sem_t wakeUps;

    std::mutex mutex;
    std::deque<Work> work;
    bool isClosing = false;

    // The queue's thread.
    std::uint64_t begun = 0;
    std::shared_ptr<std::function<void()>> source;

    std::atomic<std::uint64_t> given{0};          // changed under the mutex
    std::atomic<std::uint64_t> drainAt{nowhere};  // how much work had been given at the first pending signal
    std::atomic<bool> isSignalled{false};

    State() { ::sem_init(&wakeUps, 0, 0); }
    ~State() { ::sem_destroy(&wakeUps); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    std::optional<Work> next() {
        const std::lock_guard lock(mutex);
        if (work.empty()) {
            return std::nullopt;
        }
        std::optional<Work> first(std::move(work.front()));
        work.pop_front();
        return first;
    }

    bool isDone() {
        const std::lock_guard lock(mutex);
        return isClosing && work.empty() && !isSignalled;
    }

    void drain() {
        // In this order, so that a signal that comes in between has its flag up and gets a drain of its own.
        // An exchange, because a signal that came too late to raise the flag counts on this one seeing its
        // data.
        isSignalled.exchange(false);
        drainAt = nowhere;
        if (const auto current = source; current && *current) {
            (*current)();
        }
    }

    void runNext() {
        auto piece = next();
        // Looked at after the work was taken: a signal from before that work was given is seen here.
        if (isSignalled && (!piece || drainAt <= begun || drainAt == nowhere)) {
            drain();
        }
        if (piece) {
            ++begun;
            (*piece)();
        }
    }
};

SerialQueue::SerialQueue(std::string label) : state_(std::make_shared<State>()), label_(std::move(label)) {}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->isClosing = true;
    }
    if (isCurrent()) {
        // What is left may use what its owner destroys next, so it has to run now.
        while (!state_->isDone()) {
            state_->runNext();
        }
        thread_.detach();
        return;
    }
    ::sem_post(&state_->wakeUps);
    if (thread_.joinable()) {
        thread_.join();
    }
}

void SerialQueue::async(Work work) {
    const std::lock_guard lock(state_->mutex);
    if (!thread_.joinable()) {
        thread_ = std::thread([state = state_, label = label_] {
            ::pthread_setname_np(::pthread_self(), label.substr(0, 15).c_str());
            ownQueue = state.get();
            while (!state->isDone()) {
                while (::sem_wait(&state->wakeUps) != 0 && errno == EINTR) {
                }
                state->runNext();
            }
        });
    }
    state_->work.push_back(std::move(work));
    ++state_->given;
    ::sem_post(&state_->wakeUps);
}

void SerialQueue::setSource(std::function<void()> drain) {
    sync([&] { state_->source = std::make_shared<std::function<void()>>(std::move(drain)); });
}

void SerialQueue::signalRt() noexcept {
    auto none = nowhere;
    state_->drainAt.compare_exchange_strong(none, state_->given);
    if (!state_->isSignalled.exchange(true)) {
        ::sem_post(&state_->wakeUps);
    }
}

bool SerialQueue::isCurrent() const {
    return ownQueue == state_.get();
}

}  // namespace tarn
