#pragma once

#include <span>

namespace tarn::bench {

struct SpokenSentence {
    const char* voice;  ///< flite's, that says it
    const char* text;
};

/// Everyday English.
std::span<const SpokenSentence> spokenSentences();

}  // namespace tarn::bench
