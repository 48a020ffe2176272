#include "ConnectionJudge.h"

#include <algorithm>
#include <cmath>

namespace tarn {

using State = ConnectionHealth::State;

std::optional<ConnectionHealth> ConnectionJudge::take(const WebSocketPulse& pulse, double unsent,
                                                      double given, Clock::TimePoint now) {
    const double late = std::chrono::duration<double>(pulse.late).count();
    // Whoever plays a recording gives it faster than it was spoken and waits by design; that is no slowness
    // of the network.
    const double behind = isLive(given, now) ? unsent + late : 0;
    ConnectionHealth found;
    found.state = stateAfter(pulse, behind, now);
    if (found.state == State::slow) {
        found.behindSeconds = std::max(1.0, std::round(behind));
    }
    if (found == told_ || (found.state == told_.state && now - toldAt_ < tellEvery)) {
        return std::nullopt;
    }
    told_ = found;
    toldAt_ = now;
    return found;
}

bool ConnectionJudge::isLive(double given, Clock::TimePoint now) {
    while (!given_.empty() && now - given_.front().first > paceWindow) {
        given_.pop_front();
    }
    given_.emplace_back(now, given);
    const double passed = std::chrono::duration<double>(now - given_.front().first).count();
    return given - given_.front().second <= livePace * std::max(passed, 1.0);
}

State ConnectionJudge::stateAfter(const WebSocketPulse& pulse, double behind, Clock::TimePoint now) {
    if (behind > calmBelow) {
        calmSince_.reset();
    } else if (!calmSince_) {
        calmSince_ = now;
    }
    const bool wasSlow = told_.state == State::slow;
    const Clock::Duration silenceLimit = wasSlow ? Clock::Duration(silentFromWhenSlow) : silentFrom;
    // While the kernel still sends what it was given, the server may not even have the ping; it is not to
    // blame then.
    if (pulse.silence >= silenceLimit && !pulse.isOnTheRoad) {
        return State::stalled;
    }
    // The two thresholds and the calm time keep the state from flickering around one of them.
    if (behind >= slowFrom || (wasSlow && (!calmSince_ || now - *calmSince_ < calmFor))) {
        return State::slow;
    }
    return State::answering;
}

}  // namespace tarn
