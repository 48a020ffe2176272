#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "TimedUtterance.h"
#include "TranscriptFormat.h"
#include "TranscriptParts.h"

namespace tarn {

/// The whole transcript, in the order in which it was said. Names the sources where there are several.
std::string writeTranscript(std::span<const Utterance> utterances, const TranscriptOptions& options);

/// A transcript that grows: whole after each utterance. One may be told after others that were said later, of
/// another source or when a lost connection has caught up: it has its place among those of the last three
/// minutes, which are then written anew; one that comes later still stands behind what is older than that.
/// Thread: one.
class Transcript {
public:
    /// What becomes of the bytes so far: the first `keep` stay, and `bytes` take the place of the others.
    struct Change {
        std::size_t keep = 0;
        std::string bytes;
        std::size_t settled = 0;  ///< no later change keeps less than these
    };

    explicit Transcript(const TranscriptOptions& options);

    /// Of a file that is empty.
    Change start();
    Change add(const Utterance& utterance);

private:
    struct Mark {
        TranscriptParts::Place place;
        std::size_t at = 0;  ///< in the bytes
    };
    /// Utterances without a pause between them, whose subtitles are interwoven.
    struct Group {
        std::size_t size = 0;
        Mark start;
    };
    std::size_t settled() const;
    std::size_t reopen(std::size_t index);
    std::string write(std::size_t from);
    void forgetOld();

    TranscriptOptions options_;
    std::unique_ptr<TranscriptParts> parts_;
    TranscriptTimes times_;
    std::vector<TimedUtterance> latest_;  ///< in the order of their begins
    std::vector<Group> groups_;           ///< of those
    Mark end_;                            ///< of the last one
};

}  // namespace tarn
