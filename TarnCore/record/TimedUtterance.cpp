#include "TimedUtterance.h"

#include <algorithm>
#include <utility>

namespace tarn {
namespace {

// Sound that comes in jerks does not make another run.
constexpr std::chrono::seconds sameRun{5};

}  // namespace

TimedUtterance TranscriptTimes::timed(Utterance utterance) {
    std::chrono::milliseconds begin = utterance.begin;
    if (!ofRecording_) {
        const auto start = startOf(utterance);
        start_ = start_.value_or(start);
        begin += start - *start_;
    }
    begin = std::max(begin, std::chrono::milliseconds{});
    const auto length = std::max(utterance.end - utterance.begin, std::chrono::milliseconds{});
    return {std::move(utterance), begin, begin + length};
}

/// When the run began that the utterance belongs to.
Utterance::TimePoint TranscriptTimes::startOf(const Utterance& utterance) {
    const Utterance::TimePoint start = utterance.saidAt - utterance.begin;
    const auto known = std::ranges::find(runs_, utterance.source, &Run::source);
    if (known == runs_.end()) {
        runs_.push_back({utterance.source, start});
        return start;
    }
    if (std::chrono::abs(start - known->start) > sameRun) {
        known->start = start;
    }
    return known->start;
}

}  // namespace tarn
