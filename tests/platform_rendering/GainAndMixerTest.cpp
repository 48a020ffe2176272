// Gain, sum and limit: what every sample becomes.

#include <gmock/gmock.h>

#include <limits>
#include <random>

#include "Playback.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/MainMixerNode.h"

namespace tarn {
namespace {

using test::render;
using test::Tape;
using testing::Each;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

TEST(AudioUnitEQ, AppliesWhatWasSetBeforeTheFirstSoundFromTheFirstSampleOn) {
    const float gains[][3] = {{0, 0, 1},
                              {-96, -96, 0},
                              {-inf, -96, 0},
                              {-60, -60, 0.001F},
                              {-6.0206F, -6.0206F, 0.5F},
                              {20, 20, 10},
                              {24.0824F, 24.0824F, 16},
                              {nan, 0, 1},
                              {inf, AudioUnitEQ::loudest, 16.03F}};
    for (const auto& [set, kept, factor] : gains) {
        SCOPED_TRACE(set);
        const auto input = test::tone(300, test::playbackRate, 0.1);
        Tape tape(input);
        AudioUnitEQ unit;
        EXPECT_EQ(unit.globalGain(), 0.0F);
        unit.setSource(&tape);
        unit.setGlobalGain(set);
        EXPECT_EQ(unit.globalGain(), kept);
        const auto output = render(unit, input.size(), 100);
        for (std::size_t i = 0; i < input.size(); ++i) {
            if (factor == 0 || factor == 1) {
                ASSERT_EQ(output[i], input[i] * factor) << i;
            }
            ASSERT_NEAR(output[i], input[i] * factor, 1e-3F * factor) << i;
        }
    }
}

TEST(AudioUnitEQ, FadesAChangeInTheMiddleOfSoundAndArrivesExactly) {
    Tape tape(std::vector<float>(24000, 0.5F));
    AudioUnitEQ unit;
    unit.setSource(&tape);
    float before = 0.5F;
    render(unit, 240);
    for (const auto& [decibels, level] :
         {std::pair{20.0F, 5.0F}, {-96.0F, 0.0F}, {0.0F, 0.5F}, {6.0206F, 1.0F}}) {
        unit.setGlobalGain(decibels);
        const auto output = render(unit, 480, 37);
        float last = before;
        for (std::size_t i = 0; i < output.size(); ++i) {
            ASSERT_LE(std::abs(output[i] - last), std::abs(level - before) / 100) << decibels << " at " << i;
            last = output[i];
        }
        EXPECT_NEAR(output[200], level, 1e-4F);
        EXPECT_EQ(output.back(), output[200]);
        before = output.back();
    }
}

TEST(AudioUnitEQ, AppliesWhatWasSetInSilenceFromTheNextSoundOn) {
    AudioUnitEQ unit;
    Tape first(std::vector<float>(100, 0.5F));
    unit.setSource(&first);
    render(unit, 240);
    unit.setGlobalGain(-96);
    Tape second(std::vector<float>(100, 0.5F));
    unit.setSource(&second);
    EXPECT_THAT(render(unit, 240), Each(0.0F));
}

TEST(MainMixerNode, IsSilentWithoutSourcesAndSumsThoseItHas) {
    MainMixerNode mixer;
    EXPECT_THAT(render(mixer, 3000, 3000), Each(0.0F));
    Tape one(test::counting(1, 5000));
    Tape two(test::counting(7, 3000));
    mixer.setSource(&one);
    mixer.addSource(&two);
    mixer.prepare(100);
    const auto output = render(mixer, 5000, 5000);  // far more than it was prepared for
    for (std::size_t i = 0; i < 5000; ++i) {
        ASSERT_EQ(output[i], static_cast<float>(i + 1 + (i < 3000 ? i + 7 : 0)) / 65536) << i;
    }
}

TEST(MainMixerNode, NeverLeavesFullScaleNorTurnsASampleRound) {
    std::minstd_rand random(9);
    std::normal_distribution<float> loud(0, 4);
    for (const float scale : {1.0F, 16.0F, 1e20F, 1e38F}) {
        std::vector<float> input(20000);
        std::ranges::generate(input, [&] { return loud(random) * scale; });
        input[50] = nan;
        input[51] = inf;
        input[52] = -inf;
        Tape tape(input);
        MainMixerNode mixer;
        mixer.setSource(&tape);
        const auto output = render(mixer, input.size(), 512);
        for (std::size_t i = 0; i < input.size(); ++i) {
            ASSERT_LE(std::abs(output[i]), 1.0F) << i;
            if (std::isfinite(input[i])) {
                ASSERT_GE(output[i] * input[i], 0.0F) << i;
            } else {
                ASSERT_EQ(output[i], 0.0F) << i;
            }
        }
    }
}

TEST(MainMixerNode, IsExactAgainSoonAfterALoudMoment) {
    std::vector<float> input(60000, 0.5F);  // the gain takes two seconds to come back from 24 dB
    std::fill_n(input.begin(), 1000, 16.0F);
    Tape tape(input);
    MainMixerNode mixer;
    mixer.setSource(&tape);
    const auto output = render(mixer, input.size());
    EXPECT_THAT(std::vector<float>(output.end() - 12000, output.end()), Each(0.5F));
}

}  // namespace
}  // namespace tarn
