#include "TarnPlatform/base/DecimalText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace tarn {
namespace {

TEST(DecimalText, IsTheShortestFormThatReadsBackTheSameAndShowsAFraction) {
    using Limits = std::numeric_limits<double>;
    const std::pair<double, const char*> cases[] = {
        {48000, "48000.0"},
        {0, "0.0"},
        {-0.0, "-0.0"},
        {44100.5, "44100.5"},
        {-0.1, "-0.1"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1.0 / 3, "0.3333333333333333"},
        {0.00001, "0.00001"},
        {1e22, "10000000000000000000000.0"},
        {Limits::infinity(), "inf"},
        {-Limits::infinity(), "-inf"},
        {Limits::quiet_NaN(), "nan"},
        {-Limits::quiet_NaN(), "nan"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(decimalText(value), text);
    }
    for (const double value : {Limits::max(), Limits::lowest(), Limits::min(), -Limits::denorm_min()}) {
        EXPECT_EQ(std::strtod(decimalText(value).c_str(), nullptr), value) << decimalText(value);
    }
}

}  // namespace
}  // namespace tarn
