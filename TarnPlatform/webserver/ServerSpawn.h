#pragma once

#include <boost/asio/co_spawn.hpp>
#include <exception>
#include <string>
#include <utility>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {

/// Starts `task` on `executor`. An exception that escapes it is a fault of ours: it is logged and ends that
/// task.
template <typename Executor>
void spawnLogged(const Executor& executor, Task<void> task) {
    asio::co_spawn(executor, std::move(task), [](const std::exception_ptr& exception) {
        if (!exception) {
            return;
        }
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            logLine(std::string("[http] a connection failed: ") + error.what());
        }
    });
}

}  // namespace tarn
