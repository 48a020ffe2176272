#pragma once

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
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
        std::shared_ptr<asio::steady_timer> reader;
        {
            const std::lock_guard lock(state_->mutex);
            if (state_->finished) {
                return;
            }
            state_->values.push_back(std::move(value));
            reader = std::exchange(state_->reader, nullptr);
        }
        wake(reader);
    }

    /// Thread: any. May be called more than once.
    void finish() const {
        std::shared_ptr<asio::steady_timer> reader;
        {
            const std::lock_guard lock(state_->mutex);
            state_->finished = true;
            reader = std::exchange(state_->reader, nullptr);
        }
        wake(reader);
    }

    /// The next value, or nothing once the queue is finished and empty.
    /// Thread: the reader's own serial executor; one call at a time. Cancelling the coroutine throws
    /// `system_error(operation_aborted)` and loses no value.
    Task<std::optional<T>> next() const {
        const auto state = state_;
        const auto executor = co_await asio::this_coro::executor;
        for (;;) {
            std::shared_ptr<asio::steady_timer> bell;
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
                bell = std::make_shared<asio::steady_timer>(executor, asio::steady_timer::time_point::max());
                state->reader = bell;
            }
            co_await bell->async_wait(asValue);
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
        std::shared_ptr<asio::steady_timer> reader;
        bool finished = false;
    };

    static void wake(const std::shared_ptr<asio::steady_timer>& reader) {
        if (reader) {
            // On the reader's executor, where its wait has begun by the time this runs.
            asio::post(reader->get_executor(), [reader] { reader->cancel(); });
        }
    }

    std::shared_ptr<State> state_;
};

}  // namespace tarn
