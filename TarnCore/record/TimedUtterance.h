#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "Utterance.h"

namespace tarn {

/// An utterance with its place in a transcript.
struct TimedUtterance {
    Utterance utterance;
    std::chrono::milliseconds begin{};  ///< not below 0
    std::chrono::milliseconds end{};    ///< not below `begin`
};

/// Puts the utterances of several sources, which did not start at the same time and may have been started
/// again, on one line of time. It begins where the run of the first utterance's source did. Thread: one.
class TranscriptTimes {
public:
    /// `ofRecording`: the times are those of the sound itself, however fast it was heard.
    explicit TranscriptTimes(bool ofRecording) : ofRecording_(ofRecording) {}

    /// For utterances of one source, in the order in which they were said.
    TimedUtterance timed(Utterance utterance);

private:
    struct Run {
        int source = 0;
        Utterance::TimePoint start{};
    };
    Utterance::TimePoint startOf(const Utterance& utterance);

    bool ofRecording_;
    std::vector<Run> runs_;  ///< the latest of each source
    std::optional<Utterance::TimePoint> start_;
};

}  // namespace tarn
