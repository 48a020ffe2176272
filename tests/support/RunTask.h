#pragma once

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>
#include <chrono>
#include <future>
#include <stdexcept>
#include <utility>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// Runs `context` until `task` has completed and returns its value; throws when that takes longer than
/// `limit`, so that a hang fails its test and not the whole run.
template <typename T>
T runTask(asio::io_context& context, Task<T> task, std::chrono::seconds limit = std::chrono::seconds(30)) {
    auto result = asio::co_spawn(context, std::move(task), asio::use_future);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (result.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw std::runtime_error("the task did not complete in time");
        }
        context.restart();
        context.run_one_until(deadline);
    }
    return result.get();
}

}  // namespace tarn::test
