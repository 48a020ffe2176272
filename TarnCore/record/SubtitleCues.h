#pragma once

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include "SubtitleLines.h"
#include "TimedUtterance.h"
#include "TranscriptFormat.h"

namespace tarn {

/// What stands on the screen at one time.
struct SubtitleCue {
    std::chrono::milliseconds begin{};
    std::chrono::milliseconds end{};  ///< above `begin`
    std::string name{};               ///< of its source, where sources are named
    std::vector<std::string> lines{};
    std::chrono::milliseconds reading{};  ///< how long it is wanted
};

/// Makes subtitles of utterances: two lines at most, both of one text or, where both texts are wanted, one of
/// each. They appear when their speech begins, parts of a long utterance as it goes on, and stay for as long
/// as it takes to read them (1 s at least) where that is longer than the speech and nobody speaks meanwhile.
/// Each begins where or after the one before it ends; of people who speak at once each takes the screen from
/// the other. Thread: one.
class SubtitleCues {
public:
    explicit SubtitleCues(const TranscriptOptions& options) : options_(options) {}

    /// The cues of `utterances`, which are in the order of their begins. None begins before `earliest`, and
    /// none stays beyond `limit` to be read.
    std::vector<SubtitleCue> of(std::span<const TimedUtterance> utterances,
                                std::chrono::milliseconds earliest, std::chrono::milliseconds limit) const;

private:
    std::vector<SubtitleCue> ofOne(const TimedUtterance& timed, std::chrono::milliseconds limit) const;
    std::vector<SubtitleCue> untimed(const Utterance& utterance) const;
    std::vector<SubtitleCue> screensOf(const std::string& text) const;
    std::vector<SubtitleCue> screensOf(const std::string& original, const std::string& translation) const;
    std::chrono::milliseconds readingTime(const std::string& text) const;

    const TranscriptOptions options_;
    const SubtitleLines lines_;
};

}  // namespace tarn
