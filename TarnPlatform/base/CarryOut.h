#pragma once

#include <boost/asio/co_spawn.hpp>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include "Asio.h"
#include "EventQueue.h"

namespace tarn {

/// Runs `task` on `executor` to its end and gives its value to the caller, who resumes on an executor of
/// their own. A caller that is cancelled stops waiting; the task goes on, so that nothing is left half done.
/// What the task refers to must live as long as it does, not only as long as the caller.
template <typename T>
Task<T> carryOut(SerialExecutor executor, Task<T> task) {
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
    struct Outcome {
        std::exception_ptr exception;
        std::optional<Value> value;
    };
    const EventQueue<Outcome> outcomes;
    if constexpr (std::is_void_v<T>) {
        asio::co_spawn(executor, std::move(task), [outcomes](std::exception_ptr exception) {
            outcomes.push(Outcome{std::move(exception), Value()});
        });
    } else {
        asio::co_spawn(executor, std::move(task), [outcomes](std::exception_ptr exception, T value) {
            outcomes.push(Outcome{std::move(exception), std::move(value)});
        });
    }
    auto outcome = co_await outcomes.next();
    if (outcome->exception) {
        std::rethrow_exception(outcome->exception);
    }
    if constexpr (!std::is_void_v<T>) {
        co_return std::move(*outcome->value);
    }
}

}  // namespace tarn
