#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tarn {

/// Brings a talker to a good level, slowly, and never lets a sample beyond full scale.
///
/// The level of speech is followed while somebody speaks and stays where it is in pauses, so that noise is
/// not pumped up between words. Peaks are caught by a limiter that sees a block ahead, so it need not clip.
///
/// Not thread-safe. Allocates only when made. The output is one block late.
class LevelControl {
public:
    /// `block`: samples of every block; `rate` in Hz.
    LevelControl(std::size_t block, double rate);

    /// `nearness`: how much of the block is a talker rather than echo or noise, 0 to 1.
    void run(std::span<float> samples, float nearness);

private:
    void follow(float power, float nearness);

    std::size_t block_;
    float seconds_;               // of a block
    std::vector<float> waiting_;  // the block before, with its gain
    float speechPower_;
    float noisePower_;
    int settled_ = 0;  // blocks so far, counted up to `settlingBlocks`
    float heard_ = 0;  // seconds of speech so far, counted up to `speechSeconds`
    float gain_ = 1;
    float limit_ = 1;  // the limiter's factor at the end of the last output
    float waitingLimit_ = 1;
};

}  // namespace tarn
