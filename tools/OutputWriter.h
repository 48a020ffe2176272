#pragma once

#include <boost/asio/posix/stream_descriptor.hpp>
#include <memory>
#include <optional>
#include <string>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::cli {

/// A descriptor for one of the standard streams that can be waited on without changing how others see it:
/// where possible a description of its own, since "do not block" would otherwise hold for the caller's
/// terminal too.
Result<asio::posix::stream_descriptor> openStandardStream(int number, const SerialExecutor& executor);

/// Writes texts to standard output in order, without ever holding up the loop: a reader that stops reading
/// leaves them queued. Copies share one queue. Thread: the executor's.
class OutputWriter {
public:
    explicit OutputWriter(const SerialExecutor& executor);

    void write(std::string text) { state_->texts.push(std::move(text)); }
    /// Writes until `finish` and its end, or until standard output takes no more; run it once.
    Task<void> run() { return writeAll(state_); }
    void finish() { state_->texts.finish(); }

    /// Why standard output takes no more; nothing while it does.
    const std::optional<std::string>& failure() const { return state_->failure; }
    /// Completes when there is a `failure`.
    Task<void> waitForFailure() { return waitFor(state_); }

private:
    struct State {
        explicit State(const SerialExecutor& where)
            : executor(where), failed(where, asio::steady_timer::time_point::max()) {}
        SerialExecutor executor;
        EventQueue<std::string> texts;
        std::optional<std::string> failure;
        asio::steady_timer failed;  ///< cancelled at a failure
    };
    static Task<void> writeAll(std::shared_ptr<State> state);
    static Task<void> waitFor(std::shared_ptr<State> state);

    std::shared_ptr<State> state_;
};

}  // namespace tarn::cli
