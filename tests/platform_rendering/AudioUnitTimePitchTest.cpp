// Speed and pitch on voice-like tones, and on clicks and ramps that show where the sound was cut.

#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>

#include "Playback.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"

namespace tarn {
namespace {

using test::playbackRate;
using test::render;
using test::Tape;

/// Harmonics, as a voice has them.
std::vector<float> voice(double pitch, double seconds) {
    std::vector<float> sum(static_cast<std::size_t>(seconds * playbackRate));
    for (int harmonic = 1; harmonic <= 8; ++harmonic) {
        const auto part = test::tone(pitch * harmonic, playbackRate, seconds, 0.2 / harmonic);
        std::ranges::transform(sum, part, sum.begin(), std::plus<>());
    }
    return sum;
}

/// All that comes until nothing more does.
std::vector<float> pullAll(AudioNode& node, std::size_t block = 240) {
    std::vector<float> all;
    std::vector<float> part(block);
    while (const auto count = node.pullRt(part)) {
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return all;
}

/// The largest step from one sample to the next, of which a click has one.
float steepest(std::span<const float> samples) {
    float most = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        most = std::max(most, std::abs(samples[i] - samples[i - 1]));
    }
    return most;
}

using Speed = std::tuple<float, double>;  // the rate, and the voice's pitch in Hz

class AudioUnitTimePitchAt : public testing::TestWithParam<Speed> {};

INSTANTIATE_TEST_SUITE_P(, AudioUnitTimePitchAt,
                         testing::Combine(testing::Values(0.5F, 0.75F, 0.9F, 1.1F, 1.25F, 1.5F, 2.0F),
                                          testing::Values(80.0, 125.0, 210.0, 330.0)));

TEST_P(AudioUnitTimePitchAt, KeepsPitchAndLevelAndGivesTheLengthWithoutClicks) {
    const auto [rate, pitch] = GetParam();
    const auto input = voice(pitch, 2.5);
    Tape tape(input);
    AudioUnitTimePitch unit;
    unit.setSource(&tape);
    unit.setRate(rate);
    unit.prepare(8192);
    const auto output = pullAll(unit);

    const auto expected = static_cast<double>(input.size()) / static_cast<double>(rate);
    EXPECT_NEAR(static_cast<double>(output.size()), expected, 0.01 * expected);
    EXPECT_LE(steepest(output), 1.3F * steepest(input));

    // Within 10 cents the strongest frequency is where it was. The window is short enough for steps of 2
    // cents.
    const auto middle = std::span(output).subspan(output.size() / 2, 12000);
    double best = 0;
    double strongest = 0;
    for (double cents = -100; cents <= 100; cents += 2) {
        const auto amplitude = test::fitTone(middle, pitch * std::exp2(cents / 1200), playbackRate).amplitude;
        if (amplitude > strongest) {
            strongest = amplitude;
            best = cents;
        }
    }
    EXPECT_LE(std::abs(best), 10);
    EXPECT_NEAR(test::decibels(strongest / 0.2), 0, 1);
}

TEST(AudioUnitTimePitch, ReturnsToExactSamplesWithoutDelayAndWithoutAClick) {
    AudioUnitTimePitch unit;
    const auto input = voice(140, 4);
    Tape tape(input);
    unit.setSource(&tape);
    unit.prepare(240);
    unit.setRate(1.4F);
    auto output = render(unit, 24000);
    unit.setRate(1.0F);
    const auto rest = pullAll(unit);
    // The end of the input, exactly, and as much of it as there can be after 50 ms.
    const std::size_t exact = rest.size() - 1200;
    EXPECT_GT(exact, 30000U);
    EXPECT_TRUE(std::equal(rest.end() - static_cast<std::ptrdiff_t>(exact), rest.end(),
                           input.end() - static_cast<std::ptrdiff_t>(exact)));
    output.insert(output.end(), rest.begin(), rest.end());
    EXPECT_LE(steepest(output), 1.3F * steepest(input));
}

// Utterances of every length down to less than the unit reads ahead, each with a mark on its last samples.
TEST(AudioUnitTimePitch, PlaysTheLastSampleOfEachUtteranceWithoutWaitingForTheNext) {
    for (const float rate : {0.5F, 0.8F, 1.0F, 1.3F, 2.0F}) {
        SCOPED_TRACE(rate);
        AudioPlayerNode player;
        AudioUnitTimePitch unit;
        unit.setSource(&player);
        unit.setRate(rate);
        unit.prepare(240);
        player.play();
        for (const std::size_t length : {3U, 60U, 240U, 500U, 2400U, 2900U, 24000U}) {
            std::vector<float> utterance(length, 0.25F);
            utterance.back() = 0.875F;
            player.scheduleBuffer(test::playbackBuffer(utterance));
            const auto most = static_cast<std::size_t>(static_cast<float>(length) / rate) + 800;
            const auto output = render(unit, most);
            EXPECT_THAT(output, testing::Contains(0.875F)) << length;
            EXPECT_EQ(player.queuedFrames(), 0U);
            const auto silence = std::ranges::find(output, 0.875F) - output.begin() + 1;
            EXPECT_THAT(std::vector<float>(output.begin() + silence, output.end()), testing::Each(0.0F))
                << length;
            EXPECT_NEAR(static_cast<float>(silence), static_cast<float>(length) / rate,
                        0.01F * static_cast<float>(length) + 500)
                << length;
        }
    }
}

TEST(AudioUnitTimePitch, SurvivesRatesAndSamplesThatAreNone) {
    AudioUnitTimePitch unit;
    for (const auto& [set, kept] : {std::pair{0.0F, 0.5F},
                                    {std::numeric_limits<float>::infinity(), 2.0F},
                                    {-1.0F, 0.5F},
                                    {std::numeric_limits<float>::quiet_NaN(), 0.5F},
                                    {1.5F, 1.5F}}) {
        unit.setRate(set);
        EXPECT_EQ(unit.rate(), kept);
    }
    std::minstd_rand random(3);
    std::vector<float> rubbish(24000);
    for (float& sample : rubbish) {
        const auto kind = random() % 5;
        sample = kind == 0   ? std::numeric_limits<float>::quiet_NaN()
                 : kind == 1 ? std::numeric_limits<float>::infinity()
                 : kind == 2 ? 3e38F
                             : static_cast<float>(random() % 100) / 100;
    }
    for (const float rate : {0.5F, 2.0F}) {
        Tape tape(rubbish);
        unit.setSource(&tape);
        unit.setRate(rate);
        EXPECT_NEAR(static_cast<double>(pullAll(unit).size()), 24000.0 / static_cast<double>(rate), 1000);
    }
}

}  // namespace
}  // namespace tarn
