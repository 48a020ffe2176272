#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarn::bench {

/// What a canceller is given: both signals at 16 kHz, sample for sample.
struct EchoScene {
    std::vector<float> reference;
    std::vector<float> microphone;
    /// Blocks of the reference are not given between these, in seconds, and the loudspeaker is silent.
    double gapFrom = 0;
    double gapTo = 0;
    /// By how much the times of the reference's blocks jitter, in blocks, either way.
    double jitterBlocks = 0;
    /// By how much the reference's clock is quicker than the microphone's in their times and counts, so that
    /// it is not only the echo that drifts.
    double clockPpm = 0;
};

struct Processed {
    std::vector<float> samples;  ///< at 16 kHz, as long as the microphone's
    double seconds = 0;          ///< processor time
};

struct EchoCandidate {
    std::string name;
    std::function<Processed(const EchoScene&)> process;
};

/// The packaged libraries, alone and joined.
std::vector<EchoCandidate> libraryCandidates();

/// What finds delay and drift in this tree, before a canceller of a library or ours, with and without the
/// suppressor: all at 16 kHz, sample for sample.
std::vector<EchoCandidate> alignedCandidates();

/// This tree's own, in parts and whole.
std::vector<EchoCandidate> ownCandidates();

double processorSeconds();

}  // namespace tarn::bench
