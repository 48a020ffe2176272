// The whole conversion: sample types, channels, buffers of any size, and callers that make mistakes.

#include "TarnPlatform/audio/AudioConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "Signal.h"

namespace tarn {
namespace {

using enum CommonFormat;
using Input = AudioConverter::Input;
using InputStatus = AudioConverter::InputStatus;
using OutputStatus = AudioConverter::OutputStatus;
using test::bufferOf;
using test::decibels;
using test::fitTone;
using test::tone;

const AudioFormat serviceFormat{int16, 16000, 1, true, std::nullopt};
const AudioFormat monoFloat{float32, 16000, 1, false, std::nullopt};

// Gives `buffer` once and collects what comes, as floats of full scale 1, calling with `capacity` frames.
std::vector<float> convertOnce(AudioConverter& converter, const PcmBuffer& buffer, const AudioFormat& to,
                               std::uint32_t capacity = 4096) {
    std::vector<float> all;
    bool given = false;
    for (;;) {
        auto output = PcmBuffer::make(to, capacity).value();
        std::optional<Error> error;
        const auto status = converter.convert(output, error, [&]() -> Input {
            return std::exchange(given, true) ? Input{InputStatus::noDataNow, nullptr}
                                              : Input{InputStatus::haveData, &buffer};
        });
        EXPECT_NE(status, OutputStatus::error) << error->description;
        for (std::uint32_t i = 0; i < output.frameLength(); ++i) {
            all.push_back(to.commonFormat == int16 ? static_cast<float>(output.int16ChannelData()[i]) / 32768
                                                   : output.floatChannelData()[i]);
        }
        if (status != OutputStatus::haveData) {
            return all;
        }
    }
}

std::vector<float> convertAll(const PcmBuffer& buffer, const AudioFormat& to) {
    auto converter = AudioConverter::make(buffer.format(), to).value();
    return convertOnce(converter, buffer, to);
}

constexpr std::array rates{8000.0,  11025.0, 16000.0, 22050.0, 32000.0,
                           44100.0, 48000.0, 88200.0, 96000.0, 192000.0};

/// Every sample type, planar and interleaved.
std::vector<AudioFormat> formats(std::uint32_t channels, double rate) {
    std::vector<AudioFormat> all;
    for (const auto type : {float32, float64, int16, int32}) {
        all.push_back({type, rate, channels, true, std::nullopt});
        all.push_back({type, rate, channels, false, std::nullopt});
    }
    return all;
}

TEST(AudioConverter, BringsAToneOfAllChannelsAtItsLevelFromEveryRateAndSampleType) {
    for (const double rate : rates) {
        for (std::uint32_t channels = 1; channels <= 8; ++channels) {
            for (const auto& format : formats(channels, rate)) {
                const auto buffer = bufferOf(format, std::vector(channels, tone(1000, rate, 0.1)));
                const auto fit = fitTone(convertAll(buffer, serviceFormat), 1000, 16000);
                EXPECT_NEAR(decibels(fit.amplitude / 0.5), 0, 0.02) << format.description();
                EXPECT_LT(decibels(fit.rest / 0.5), -80) << format.description();  // rounding to 16 bits
            }
        }
    }
}

TEST(AudioConverter, DoesNotClipChannelsThatAgreeAtFullScale) {
    for (std::uint32_t channels = 1; channels <= 8; ++channels) {
        for (const auto& format : formats(channels, 48000)) {
            const auto buffer = bufferOf(format, std::vector(channels, std::vector<float>(4800, 1.0F)));
            const auto output = convertAll(buffer, monoFloat);
            EXPECT_NEAR(output.back(), 1.0F, 1e-4F) << format.description();
            EXPECT_LE(output.back(), 1.0F + 1e-6F) << format.description();
        }
    }
}

TEST(AudioConverter, KeepsSpeechInAnySingleChannelAudible) {
    constexpr std::array lowFrequencyAt{0U, 0U, 0U, 0U, 0U, 0U, 3U, 3U, 3U};
    for (std::uint32_t channels = 2; channels <= 8; ++channels) {
        const AudioFormat format{float32, 16000, channels, true, std::nullopt};
        for (std::uint32_t speaking = 0; speaking < channels; ++speaking) {
            if (channels >= 6 && speaking == lowFrequencyAt[channels]) {
                continue;
            }
            std::vector<std::vector<float>> planes(channels, std::vector<float>(3200));
            planes[speaking] = tone(500, 16000, 0.2, 1.0);
            const auto fit = fitTone(convertAll(bufferOf(format, planes), monoFloat), 500, 16000);
            EXPECT_GT(decibels(fit.amplitude), -20) << speaking << " of " << channels;
        }
    }
}

TEST(AudioConverter, PutsAnExplicitLayoutBeforeTheUsualOne) {
    using enum ChannelPosition;
    const AudioFormat format{float32, 16000, 3, true, ChannelLayout{lowFrequency, frontCentre, lowFrequency}};
    const std::vector<float> quiet(1600);
    const auto voice = tone(500, 16000, 0.1);
    const auto output = convertAll(bufferOf(format, {quiet, voice, quiet}), monoFloat);
    EXPECT_NEAR(fitTone(output, 500, 16000).amplitude, 0.5, 1e-4);
}

TEST(AudioConverter, TurnsOverARightChannelOfOppositePolarityWithoutAClick) {
    const AudioFormat format{float32, 16000, 2, false, std::nullopt};
    auto converter = AudioConverter::make(format, monoFloat).value();
    const auto left = tone(200, 16000, 0.5);
    auto right = left;
    for (auto& x : right) {
        x = -x;
    }
    const auto opposite = convertOnce(converter, bufferOf(format, {left, right}), monoFloat);
    EXPECT_NEAR(fitTone(opposite, 200, 16000).amplitude, 0.5, 0.001);
    const auto agreeing = convertOnce(converter, bufferOf(format, {left, left}), monoFloat);
    EXPECT_NEAR(fitTone(agreeing, 200, 16000).amplitude, 0.5, 0.001);
    for (const auto* part : {&opposite, &agreeing}) {
        for (std::size_t i = 1; i < part->size(); ++i) {
            ASSERT_LT(std::abs((*part)[i] - (*part)[i - 1]), 0.06F) << i;
        }
    }
}

TEST(AudioConverter, MapsFullScaleToFullScaleAndClipsBeyond) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::pair<float, int>> cases{
        {0.0F, 0},     {1.0F, 32767},    {-1.0F, -32768},   {0.5F, 16384},     {-0.25F, -8192},
        {1.5F, 32767}, {-1e30F, -32768}, {0.4F / 32768, 0}, {0.6F / 32768, 1}, {-0.6F / 32768, -1},
        {nan, 0},      {infinity, 0},    {-infinity, 0}};
    for (const auto& [value, expected] : cases) {
        const auto output = convertAll(bufferOf(monoFloat, {{value}}), serviceFormat);
        EXPECT_EQ(std::lround(output.at(0) * 32768), expected) << value;
    }
}

TEST(AudioConverter, WritesEveryChannelOfAWiderTarget) {
    const AudioFormat stereo{int32, 24000, 2, true, std::nullopt};
    const AudioFormat mono{int16, 24000, 1, true, std::nullopt};
    auto converter = AudioConverter::make(mono, stereo).value();
    const auto input = bufferOf(mono, {{1.0F, -0.5F}});
    auto output = PcmBuffer::make(stereo, 2).value();
    std::optional<Error> error;
    EXPECT_EQ(converter.convert(output, error, [&] { return Input{InputStatus::haveData, &input}; }),
              OutputStatus::haveData);
    const std::span samples(output.int32ChannelData(), 4);
    EXPECT_EQ(samples[0], 32767 << 16);
    EXPECT_EQ(samples[1], 32767 << 16);
    EXPECT_EQ(samples[2], samples[3]);
}

TEST(AudioConverter, KeepsWhatDoesNotFitForTheNextCall) {
    const AudioFormat format{float32, 44100, 2, true, std::nullopt};
    const auto input = tone(440, 44100, 0.3);
    const auto buffer = bufferOf(format, {input, input});
    auto converter = AudioConverter::make(format, monoFloat).value();
    const auto pieces = convertOnce(converter, buffer, monoFloat, 7);
    const auto whole = convertAll(buffer, monoFloat);
    ASSERT_EQ(pieces.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        ASSERT_NEAR(pieces[i], whole[i], 1e-6) << i;
    }
}

TEST(AudioConverter, HandsOutWhatTheFilterHoldsAtTheEndOfTheStream) {
    const AudioFormat format{float32, 48000, 1, true, std::nullopt};
    auto converter = AudioConverter::make(format, monoFloat).value();
    std::vector<float> click(480);
    click[470] = 1.0F;
    const auto buffer = bufferOf(format, {click});
    EXPECT_LT(std::ranges::max(convertOnce(converter, buffer, monoFloat)), 0.01F);
    auto output = PcmBuffer::make(monoFloat, 4096).value();
    std::optional<Error> error;
    EXPECT_EQ(converter.convert(output, error, [] { return Input{InputStatus::endOfStream, nullptr}; }),
              OutputStatus::endOfStream);
    EXPECT_NEAR(output.frameLength(), converter.delay() * 16000, 2.0);
    EXPECT_GT(std::ranges::max(std::span(output.floatChannelData(), output.frameLength())), 0.2F);
}

TEST(AudioConverter, RecoversFromBrokenSamplesWithinTheFiltersLength) {
    const AudioFormat format{float32, 48000, 2, true, std::nullopt};
    const auto clean = tone(300, 48000, 0.1);
    auto broken = clean;
    broken[1000] = std::numeric_limits<float>::quiet_NaN();
    broken[1001] = std::numeric_limits<float>::infinity();
    broken[1002] = -1e38F;
    const auto expected = convertAll(bufferOf(format, {clean, clean}), monoFloat);
    const auto output = convertAll(bufferOf(format, {broken, clean}), monoFloat);
    ASSERT_EQ(output.size(), expected.size());
    for (std::size_t i = 0; i < output.size(); ++i) {
        ASSERT_TRUE(std::isfinite(output[i])) << i;
        if (i < 330 || i > 400) {
            ASSERT_NEAR(output[i], expected[i], 1e-6) << i;
        }
    }
}

TEST(AudioConverter, SaysWhatIsWrongWithABufferAndGoesOn) {
    auto converter = AudioConverter::make(monoFloat, serviceFormat).value();
    auto output = PcmBuffer::make(serviceFormat, 8).value();
    const auto stranger = bufferOf({int16, 44100, 2, true, std::nullopt}, {{0.0F}, {0.0F}});
    std::optional<Error> error;
    EXPECT_EQ(converter.convert(output, error, [&] { return Input{InputStatus::haveData, &stranger}; }),
              OutputStatus::error);
    EXPECT_EQ(error->description,
              "the input is 2 ch, 44100 Hz, Int16, interleaved, not 1 ch, 16000 Hz, Float32, planar");
    auto wrong = PcmBuffer::make(monoFloat, 8).value();
    EXPECT_EQ(converter.convert(wrong, error, [] { return Input{}; }), OutputStatus::error);
    EXPECT_EQ(convertOnce(converter, bufferOf(monoFloat, {{0.5F}}), serviceFormat), std::vector<float>{0.5F});
}

TEST(PcmBuffer, ReportsMemoryThatCannotBeHadAndHoldsTheLengthToTheCapacity) {
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    EXPECT_FALSE(PcmBuffer::make({float64, 48000, 64, false, std::nullopt}, most));
    EXPECT_FALSE(PcmBuffer::make({int16, 48000, 1, true, std::nullopt}, most));
    auto planar = PcmBuffer::make({float32, 48000, 2, false, std::nullopt}, 5).value();
    planar.setFrameLength(9);
    EXPECT_EQ(planar.frameLength(), 5U);
}

}  // namespace
}  // namespace tarn
