#pragma once

#include <string>
#include <vector>

namespace tarn::bench {

/// Speech at 16 kHz, and the words that it says.
struct Talk {
    std::vector<float> samples;
    std::string words;
    std::vector<float> spoken;  ///< the samples without the pauses between the sentences, for levels
};

/// Recordings of a person and three synthetic voices, sentence after sentence with pauses, each sentence at
/// the same level (RMS, of full scale 1). Needs flite and the recordings of pocketsphinx-testdata; throws
/// where they are missing.
Talk nearTalk(double rms);

/// The translated voice as it is really played: eSpeak NG in Spanish, `seconds` of it without longer pauses.
std::vector<float> farTalk(double seconds, double rms);

}  // namespace tarn::bench
