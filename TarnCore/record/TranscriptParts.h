#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "TimedUtterance.h"
#include "TranscriptFormat.h"

namespace tarn {

/// How one format writes a transcript. Thread: one.
class TranscriptParts {
public:
    /// How far it has got.
    struct Place {
        std::size_t items = 0;            ///< written so far
        std::chrono::milliseconds end{};  ///< of the last subtitle
    };

    virtual ~TranscriptParts() = default;
    virtual std::string head() const { return {}; }
    /// The utterances, in the order of their begins, behind what was written up to `place`, which moves on.
    /// `limit`: when the next one begins.
    virtual std::string body(std::span<const TimedUtterance> utterances, Place& place,
                             std::chrono::milliseconds limit) const = 0;
    virtual std::string foot() const { return {}; }

    static std::unique_ptr<TranscriptParts> of(const TranscriptOptions& options);
};

std::unique_ptr<TranscriptParts> subRipParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> webVttParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> plainTextParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> markdownParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> tableParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> jsonParts(const TranscriptOptions& options);
std::unique_ptr<TranscriptParts> jsonLinesParts(const TranscriptOptions& options);

}  // namespace tarn
