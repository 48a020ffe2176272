#pragma once

#include <span>
#include <string>

namespace tarn::bench {

struct WordErrors {
    int errors = 0;  ///< words that are wrong, missing or too many
    int words = 0;   ///< of the truth
    double percent() const { return 100.0 * errors / words; }
};

/// Lets the relay's recogniser hear `samples` (16 kHz) and compares with what was said. Throws where the
/// recogniser's model is not installed.
WordErrors recognise(std::span<const float> samples, const std::string& said);

}  // namespace tarn::bench
