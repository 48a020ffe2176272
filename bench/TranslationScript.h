#pragma once

#include <cstddef>
#include <vector>

namespace tarn::bench {

/// Somebody speaks, and a service translates utterance after utterance.
struct Scene {
    double longer = 1;      ///< the translation's length, of what was said
    double speech = 1;      ///< part of the time that somebody speaks
    double hurry = 4;       ///< the speed at which a voice arrives, of its own
    double sentence = 4.5;  ///< seconds, the mean
    double seconds = 600;   ///< that are spoken
    unsigned seed = 1;
};

struct Word {
    double arrives = 0;  ///< s
    std::size_t frames = 0;
    int utterance = 0;
    bool ends = false;  ///< the utterance
    double heard = -1;  ///< s; below 0: never
};

/// What a service says, word after word. Scenes of one seed have the same sentences and pauses, scaled.
std::vector<Word> script(const Scene& scene);

}  // namespace tarn::bench
