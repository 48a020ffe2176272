#pragma once

#include <string>

#include "TranscriptFormat.h"
#include "Utterance.h"

namespace tarn {

/// The texts of an utterance that a transcript has, as readable text.
struct TranscriptWords {
    std::string original;
    std::string translation;
};

TranscriptWords wordsOf(const Utterance& utterance, const TranscriptOptions& options);

/// Whether a transcript has anything to tell of the utterance.
bool isTold(const Utterance& utterance, const TranscriptOptions& options);

}  // namespace tarn
