#pragma once

#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <optional>

#include "BackOff.h"
#include "ResumingTranslateStream.h"

namespace tarn {

/// Gets a stream its next connection. Thread: the executor it was made with; a coroutine of it is awaited by
/// somebody who keeps it alive.
class Reopening {
public:
    using Stream = ResumeParts::Stream;

    /// An attempt that takes longer than this is given up.
    static constexpr std::chrono::seconds attemptLimit{10};
    /// A service that has been away for this long is stood in for.
    static constexpr std::chrono::seconds standInAfter{20};
    /// How often a service that refuses by an error of its own is tried again.
    static constexpr int mostRefusals = 3;

    struct Found {
        Stream stream;
        bool isStandIn = false;
    };

    Reopening(ResumeParts parts, SerialExecutor executor);

    /// The next connection; nothing after `stop`, where nobody is signed in any more, or where the time for
    /// it is over.
    Task<std::optional<Found>> next();
    /// A connection to the service itself, however long that takes; nothing as for `next`.
    Task<Stream> serviceAgain();

    /// A connection was lost by an error of the service. Whether another is to be tried.
    bool mayTryAfterRefusal() { return ++refusals_ <= mostRefusals; }
    /// A connection has done its work for a while: what was lost before it counts no more.
    void prove();
    /// The next attempt is made at once.
    void hurry();
    /// Nothing more is tried. What is awaited ends.
    void stop();

    bool isSignedOut() const { return isSignedOut_; }

private:
    /// One attempt, which runs on another executor.
    struct Attempt {
        explicit Attempt(const SerialExecutor& executor)
            : bell(executor, asio::steady_timer::time_point::max()) {}
        asio::steady_timer bell;
        std::optional<ServerResult<Stream>> result;
        bool isAbandoned = false;
    };

    static Task<void> carry(ResumeParts::Open open, std::shared_ptr<Attempt> attempt,
                            SerialExecutor executor);
    Task<ServerResult<Stream>> attempt(ResumeParts::Open open);
    Task<void> pause(Clock::Duration delay);
    Clock::Duration delay();
    bool isTooLate() const;

    const ResumeParts parts_;
    const SerialExecutor executor_;
    BackOff backOff_;
    std::optional<Clock::TimePoint> lostAt_;
    std::optional<Clock::TimePoint> triedAt_;
    int refusals_ = 0;
    bool isHurried_ = false;
    bool isStopped_ = false;
    bool isSignedOut_ = false;
    asio::steady_timer bell_;
    std::shared_ptr<Attempt> attempt_;
};

}  // namespace tarn
