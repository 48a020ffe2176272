#include "TarnRelay/offline/voice/ServiceSpeech.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace tarn::relay {
namespace {

constexpr double kTone = 440;
constexpr double kAmplitude = 8000;

Speech tone(int rate, double seconds) {
    Speech speech{.rate = rate, .samples = {}};
    for (int i = 0; i < static_cast<int>(rate * seconds); ++i) {
        speech.samples.push_back(
            static_cast<std::int16_t>(kAmplitude * std::sin(2 * std::numbers::pi * kTone * i / rate)));
    }
    return speech;
}

std::vector<double> samplesOf(const std::vector<std::byte>& bytes) {
    std::vector<double> samples;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = std::to_integer<unsigned>(bytes[i]);
        samples.push_back(static_cast<std::int16_t>(low | std::to_integer<unsigned>(bytes[i + 1]) << 8U));
    }
    return samples;
}

class ServiceSpeechFrom : public testing::TestWithParam<int> {};

TEST_P(ServiceSpeechFrom, KeepsDurationPitchAndLevel) {
    const auto bytes = toServiceSpeech(tone(GetParam(), 1.0));
    ASSERT_TRUE(bytes) << bytes.error().description;
    const auto samples = samplesOf(*bytes);
    EXPECT_NEAR(static_cast<double>(samples.size()), 24000, 240);
    double energy = 0;
    int rising = 0;
    bool low = false;
    for (const auto sample : samples) {
        energy += sample * sample;
        rising += low && sample > kAmplitude / 2 ? 1 : 0;
        low = (low && sample <= kAmplitude / 2) || sample < -kAmplitude / 2;
    }
    EXPECT_NEAR(rising, kTone, 3);
    EXPECT_NEAR(std::sqrt(energy / 24000), kAmplitude / std::numbers::sqrt2, 60);
}

INSTANTIATE_TEST_SUITE_P(Rates, ServiceSpeechFrom, testing::Values(8000, 16000, 22050, 24000, 48000));

TEST(ServiceSpeech, IsEmptyForNothingAndAnErrorForAnImpossibleRate) {
    const auto nothing = toServiceSpeech({.rate = 22050, .samples = {}});
    ASSERT_TRUE(nothing);
    EXPECT_TRUE(nothing->empty());
    EXPECT_FALSE(toServiceSpeech({.rate = 0, .samples = {1, 2, 3}}));
}

}  // namespace
}  // namespace tarn::relay
