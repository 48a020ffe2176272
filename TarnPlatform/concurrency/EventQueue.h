#pragma once

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
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

    /// Thread: any. Never waits for the reader.
    void push(T value) const {
        const std::lock_guard lock(state_->mutex);
        if (!state_->finished) {
            state_->values.push_back(std::move(value));
            state_->bell.reset();
        }
    }

    /// Thread: any. May be called more than once.
    void finish() const {
        const std::lock_guard lock(state_->mutex);
        state_->finished = true;
        state_->bell.reset();
    }

    /// The next value, or nothing once the queue is finished and empty.
    /// Thread: the reader's own serial executor; one call at a time. Cancelling the coroutine throws
    /// `system_error(operation_aborted)` and loses no value.
    Task<std::optional<T>> next() const {
        const auto state = state_;
        for (;;) {
            {
                const std::lock_guard lock(state->mutex);
                if (!state->values.empty()) {
                    std::optional<T> value(std::move(state->values.front()));
                    state->values.pop_front();
                    co_return value;
                }
                if (state->finished) {
                    co_return std::nullopt;
                }
            }
            co_await somethingComes(state);
        }
    }

    /// What is queued right now, without waiting. Thread: any.
    std::optional<T> tryNext() const {
        const std::lock_guard lock(state_->mutex);
        if (state_->values.empty()) {
            return std::nullopt;
        }
        std::optional<T> value(std::move(state_->values.front()));
        state_->values.pop_front();
        return value;
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
        bool finished = false;
    };

    /// The wait begins under the lock, so that a writer can end it from where it is: a hop to the reader's
    /// executor only to end it there would wake that thread twice for each value.
    static auto somethingComes(std::shared_ptr<State> state) {
        auto begin = [state = std::move(state)](auto reader) {
            const auto executor = asio::get_associated_executor(reader);
            const std::lock_guard lock(state->mutex);
            if (state->values.empty() && !state->finished) {
                state->bell.emplace(executor, asio::steady_timer::time_point::max());
                state->bell->async_wait(std::move(reader));
            } else {
                asio::post(executor, [reader = std::move(reader)]() mutable {
                    std::move(reader)(boost::system::error_code());
                });
            }
        };
        return asio::async_initiate<decltype(asValue), void(boost::system::error_code)>(std::move(begin),
                                                                                        asValue);
    }

    std::shared_ptr<State> state_;
};

}  // namespace tarn
