// The rate converter on tones and clicks: what arrives, how loud, when, and what must not arrive.

#include "TarnPlatform/audio/RateConverter.h"

#include <gtest/gtest.h>

#include <limits>

#include "Signal.h"

namespace tarn {
namespace {

using test::decibels;
using test::fitTone;
using test::tone;

std::vector<float> readAll(RateConverter& converter) {
    std::vector<float> all;
    std::vector<float> part(777);
    while (const auto count = converter.read(part)) {
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return all;
}

std::vector<float> convert(std::span<const float> input, double from, double to) {
    auto converter = RateConverter::make(from, to).value();
    converter.write(input);
    return readAll(converter);
}

using Rates = std::pair<double, double>;  // from and to, in Hz

class RateConverterAt : public testing::TestWithParam<Rates> {};

// The last four are a voice's rate on its way to the player, and ratios without a small fraction.
INSTANTIATE_TEST_SUITE_P(, RateConverterAt,
                         testing::Values(Rates(8000, 16000), Rates(11025, 16000), Rates(16000, 16000),
                                         Rates(22050, 16000), Rates(32000, 16000), Rates(44100, 16000),
                                         Rates(48000, 16000), Rates(88200, 16000), Rates(96000, 16000),
                                         Rates(192000, 16000), Rates(22050, 24000), Rates(47999, 16000),
                                         Rates(44100.5, 16000), Rates(15999, 16000)));

TEST_P(RateConverterAt, KeepsLevelAndFrequencyOfEveryToneInTheBand) {
    const auto [from, to] = GetParam();
    const double band = std::min(from, to) / 2 * 7 / 8;
    for (const double frequency : {0.02 * band, 0.3 * band, 0.8 * band, band}) {
        const auto fit = fitTone(convert(tone(frequency, from, 0.4), from, to), frequency, to);
        EXPECT_NEAR(decibels(fit.amplitude / 0.5), 0, 0.1) << frequency;
        EXPECT_LT(decibels(fit.rest / 0.5), -90) << frequency;
    }
}

TEST_P(RateConverterAt, LetsNothingThroughFromAboveTheBand) {
    const auto [from, to] = GetParam();
    const double step = 0.0431 * to;
    const int tones = static_cast<int>(std::ceil((from / 2 - 17.0 / 32 * to) / step));
    for (int i = 0; i < tones; ++i) {
        const double frequency = 17.0 / 32 * to + i * step;
        const auto fit = fitTone(convert(tone(frequency, from, 0.2, 1.0), from, to), 1, to);
        EXPECT_LT(decibels(fit.rest), -90) << frequency;
    }
}

TEST_P(RateConverterAt, GivesExactlyTenSecondsForTenSeconds) {
    const auto [from, to] = GetParam();
    auto converter = RateConverter::make(from, to).value();
    const std::vector<float> second(static_cast<std::size_t>(from * 2));  // two, so that half samples add up
    std::size_t frames = 0;
    for (int i = 0; i < 5; ++i) {
        converter.write(second);
        frames += readAll(converter).size();
    }
    EXPECT_EQ(static_cast<double>(frames), 10 * to);
}

TEST(RateConverter, RefusesRatesThatAreNoRates) {
    for (const double rate : {0.0, -48000.0, 999.0, 2e6, 1e300, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(RateConverter::make(rate, 16000)) << rate;
        EXPECT_FALSE(RateConverter::make(16000, rate)) << rate;
    }
}

}  // namespace
}  // namespace tarn
