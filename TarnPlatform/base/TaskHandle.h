#pragma once

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "Asio.h"
#include "Log.h"

namespace tarn {

/// A task that was started and can be cancelled. Letting go of the handle cancels nothing.
/// Thread: that of the executor it was started on.
class TaskHandle {
public:
    TaskHandle() = default;

    /// Starts `task` on `executor`; its first step comes later, never inside this call. A cancelled task ends
    /// where it waits, or never begins. Any other exception is a bug: it is logged and ends the task alone.
    static TaskHandle start(const SerialExecutor& executor, Task<void> task) {
        TaskHandle handle;
        handle.state_ = std::make_shared<State>(executor);
        // Spawned on the executor, where nothing can come in between: a cancellation that reaches Asio before
        // the coroutine's first step is thrown out of the executor.
        asio::post(executor, [state = handle.state_, task = std::move(task)]() mutable {
            if (!state->isCancelled) {
                asio::co_spawn(
                    state->executor, later(std::move(task)),
                    asio::bind_cancellation_slot(
                        state->signal.slot(), [state](const std::exception_ptr& error) { report(error); }));
            }
        });
        return handle;
    }

    void cancel() {
        if (state_) {
            // Asio hops to the executor itself, but without keeping the signal alive until it is there.
            asio::dispatch(state_->executor, [state = state_] {
                state->isCancelled = true;
                state->signal.emit(asio::cancellation_type::terminal);
            });
        }
    }

    explicit operator bool() const { return state_ != nullptr; }

private:
    struct State {
        explicit State(SerialExecutor serial) : executor(std::move(serial)) {}
        const SerialExecutor executor;
        asio::cancellation_signal signal;
        bool isCancelled = false;
    };

    /// With a hop, without which Asio would make one after the task, and that throws where it is cancelled.
    static Task<void> later(Task<void> task) {
        co_await asio::post(co_await asio::this_coro::executor, asio::use_awaitable);
        co_await std::move(task);
    }

    static void report(const std::exception_ptr& error) {
        if (!error) {
            return;
        }
        try {
            std::rethrow_exception(error);
        } catch (const boost::system::system_error& cancelled) {
            if (cancelled.code() != asio::error::operation_aborted) {
                logLine(std::string("[task] ") + cancelled.what());
            }
        } catch (const std::exception& bug) {
            logLine(std::string("[task] ") + bug.what());
        }
    }

    std::shared_ptr<State> state_;
};

}  // namespace tarn
