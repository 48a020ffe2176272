#pragma once

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "Asio.h"

namespace tarn {

/// Unbounded, ordered queue with one awaiting reader and any number of writers.
///
/// Nothing is dropped or merged while the queue is open; what is pushed after `finish` is ignored. The reader
/// gets what was queued before the finish and then the end. Copies share one queue.
template <typename T>
class EventQueue {
public:
    EventQueue() : state_(std::make_shared<State>()) {}
    /// One whose writer can wait for `room`. `weigh`: what a value counts towards `most`.
    EventQueue(std::size_t most, std::size_t (*weigh)(const T&)) : EventQueue() {
        state_->most = most;
        state_->weigh = weigh;
    }

    /// Thread: any. Never waits for the reader.
    void push(T value) const {
        const std::lock_guard lock(state_->mutex);
        if (!state_->finished) {
            state_->weight += state_->weigh == nullptr ? 0 : state_->weigh(value);
            state_->values.push_back(std::move(value));
            state_->bell.reset();
        }
    }

    /// Thread: any. May be called more than once.
    void finish() const {
        const std::lock_guard lock(state_->mutex);
        state_->finished = true;
        state_->bell.reset();
        state_->roomBell.reset();
    }

    /// The next value, or nothing once the queue is finished and empty.
    /// Thread: the reader's own serial executor; one call at a time. Cancelling the coroutine throws
    /// `system_error(operation_aborted)` and loses no value.
    Task<std::optional<T>> next() const {
        const auto state = state_;
        for (;;) {
            {
                const std::lock_guard lock(state->mutex);
                if (auto value = state->take()) {
                    co_return value;
                }
                if (state->finished) {
                    co_return std::nullopt;
                }
            }
            co_await change(state, &State::bell, &State::isQuiet);
        }
    }

    /// What is queued right now, without waiting. Thread: any.
    std::optional<T> tryNext() const {
        const std::lock_guard lock(state_->mutex);
        return state_->take();
    }

    /// Completes when the values that wait weigh less than `most`, or the queue is finished.
    /// Thread: the writer's own serial executor; one call at a time.
    Task<void> room() const {
        const auto state = state_;
        for (;;) {
            {
                const std::lock_guard lock(state->mutex);
                if (!state->isFull()) {
                    co_return;
                }
            }
            co_await change(state, &State::roomBell, &State::isFull);
        }
    }

    bool isFinished() const {
        const std::lock_guard lock(state_->mutex);
        return state_->finished;
    }

private:
    struct State {
        std::mutex mutex;
        std::deque<T> values;
        std::optional<asio::steady_timer> bell;  ///< what the reader waits for; it rings by being destroyed
        std::optional<asio::steady_timer> roomBell;  ///< the same for the writer
        bool finished = false;
        std::size_t weight = 0;  ///< of `values`
        std::size_t most = 0;
        std::size_t (*weigh)(const T&) = nullptr;

        bool isQuiet() const { return values.empty() && !finished; }
        bool isFull() const { return weigh != nullptr && weight >= most && !finished; }

        std::optional<T> take() {
            if (values.empty()) {
                return std::nullopt;
            }
            std::optional<T> value(std::move(values.front()));
            values.pop_front();
            if (weigh != nullptr) {
                weight -= weigh(*value);
                if (!isFull()) {
                    roomBell.reset();
                }
            }
            return value;
        }
    };

    /// Waits until `bell` rings, where it is to be waited at all. The wait begins under the lock, so that the
    /// other side can end it from where it is: a hop to the waiting executor only to end it there would wake
    /// that thread twice for each value.
    static auto change(std::shared_ptr<State> state, std::optional<asio::steady_timer> State::* bell,
                       bool (State::*mustWait)() const) {
        auto begin = [state = std::move(state), bell, mustWait](auto waiting) {
            const auto executor = asio::get_associated_executor(waiting);
            const std::lock_guard lock(state->mutex);
            if (((*state).*mustWait)()) {
                auto& timer = (*state).*bell;
                timer.emplace(executor, asio::steady_timer::time_point::max());
                timer->async_wait(std::move(waiting));
            } else {
                asio::post(executor, [waiting = std::move(waiting)]() mutable {
                    std::move(waiting)(boost::system::error_code());
                });
            }
        };
        return asio::async_initiate<decltype(asValue), void(boost::system::error_code)>(std::move(begin),
                                                                                        asValue);
    }

    std::shared_ptr<State> state_;
};

}  // namespace tarn
