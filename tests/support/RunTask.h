#pragma once

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// Runs `context` until `task` has completed and returns its value; throws when that takes longer than
/// `limit`, so that a hang fails its test and not the whole run.
template <typename T>
T runTask(asio::io_context& context, Task<T> task, std::chrono::seconds limit = std::chrono::seconds(30)) {
    std::exception_ptr exception;
    bool done = false;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const auto runUntilDone = [&] {
        context.restart();
        while (!done && std::chrono::steady_clock::now() < deadline) {
            context.run_one_until(deadline);
            context.restart();
        }
        if (!done) {
            throw std::runtime_error("the task did not complete in time");
        }
        if (exception) {
            std::rethrow_exception(exception);
        }
    };
    if constexpr (std::is_void_v<T>) {
        asio::co_spawn(context, std::move(task), [&](std::exception_ptr error) {
            exception = std::move(error);
            done = true;
        });
        runUntilDone();
    } else {
        std::optional<T> value;
        asio::co_spawn(context, std::move(task), [&](std::exception_ptr error, T result) {
            exception = std::move(error);
            value.emplace(std::move(result));
            done = true;
        });
        runUntilDone();
        return std::move(*value);
    }
}

}  // namespace tarn::test
