#pragma once

#include <deque>
#include <optional>
#include <utility>

#include "ConnectionHealth.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/net/WebSocketTask.h"

namespace tarn {

/// Tells how a connection is doing from what its pings and its unsent sound show, and goes from one state to
/// another only when that lasts. Thread: one executor.
class ConnectionJudge {
public:
    /// From here on a connection is slow...
    static constexpr double slowFrom = 3;  // seconds behind
    /// ...until it has been no further behind than this for `calmFor`.
    static constexpr double calmBelow = 1;  // seconds behind
    static constexpr std::chrono::seconds calmFor{3};
    /// A server that is silent for this long does not answer; while the network takes bytes it is not blamed.
    static constexpr std::chrono::milliseconds silentFrom{1500};
    /// The same on a slow connection, whose answers come in bursts.
    static constexpr std::chrono::seconds silentFromWhenSlow{5};
    /// The seconds behind are told again no sooner than this.
    static constexpr std::chrono::seconds tellEvery{1};

    /// Who gives more sound than this in a second, over `paceWindow`, plays a recording and waits for the
    /// network of their own accord.
    static constexpr double livePace = 1.25;
    static constexpr std::chrono::seconds paceWindow{10};

    /// `unsent`: seconds of sound not yet handed to the network; `given`: of all that was given. What it
    /// finds, where that is something new.
    std::optional<ConnectionHealth> take(const WebSocketPulse& pulse, double unsent, double given,
                                         Clock::TimePoint now);

private:
    bool isLive(double given, Clock::TimePoint now);
    ConnectionHealth::State stateAfter(const WebSocketPulse& pulse, double behind, Clock::TimePoint now);

    ConnectionHealth told_;
    Clock::TimePoint toldAt_{};
    std::deque<std::pair<Clock::TimePoint, double>> given_;  ///< over the last `paceWindow`
    std::optional<Clock::TimePoint> calmSince_;
};

}  // namespace tarn
