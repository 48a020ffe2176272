#include "support/audio/Measure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "support/audio/SoundFiles.h"

namespace tarn::test {
namespace {

TEST(Measure, FindsTheLevelOfATone) {
    for (const double level : {0.0, -12.0, -60.0}) {
        const auto samples = tone(441, level, 0.5, 48000, 1).samples;
        EXPECT_NEAR(toneLevel(samples, 441, 48000), level, 0.01);
        EXPECT_LT(toneLevel(samples, 880, 48000), level - 80);
        EXPECT_NEAR(20 * std::log10(rms(samples)), level - 3.01, 0.01);
    }
    EXPECT_EQ(toneLevel(std::vector<float>(1000), 441, 48000), -200);
}

TEST(Measure, FindsWhatBreaksATone) {
    const auto whole = tone(1000, -6, 1, 48000, 1).samples;
    EXPECT_LT(largestJump(whole, 1000, 48000), 0.01);
    const double sample = 2 * std::numbers::pi * 1000 / 48000;
    for (const int at : {20000, 20100, 20250, 20333}) {
        auto lost = whole;
        lost.erase(lost.begin() + at);
        EXPECT_NEAR(largestJump(lost, 1000, 48000), sample, 0.1 * sample) << at;
        auto doubled = whole;
        doubled.insert(doubled.begin() + at, whole.begin() + at, whole.begin() + at + 12);
        EXPECT_NEAR(largestJump(doubled, 1000, 48000), 12 * sample, 0.15 * 12 * sample) << at;
        auto silent = whole;
        std::fill_n(silent.begin() + at, 480, 0.0F);
        EXPECT_EQ(largestJump(silent, 1000, 48000), std::numbers::pi) << at;
    }
}

TEST(Measure, CutsSilenceOffBothEnds) {
    auto samples = std::vector<float>(5000);
    const auto sound = tone(1000, -6, 0.5, 48000, 1).samples;
    samples.insert(samples.end(), sound.begin(), sound.end());
    samples.resize(samples.size() + 7000);
    const auto rest = withoutSilence(samples, 48000, 0.1);
    EXPECT_NEAR(static_cast<double>(rest.size()), 0.3 * 48000, 10);
    EXPECT_LT(largestJump(rest, 1000, 48000), 0.01);
    EXPECT_TRUE(withoutSilence(std::vector<float>(5000), 48000).empty());
}

}  // namespace
}  // namespace tarn::test
