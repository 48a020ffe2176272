#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>

#include "TarnPlatform/base/PreferredLanguages.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

struct Case {
    const char* language;  // null: not set, here and below
    const char* all;
    const char* messages;
    const char* lang;
    std::vector<std::string> expected;
    bool isChinese;
};

TEST(PreferredLanguages, FollowTheEnvironmentAsGettextDoes) {
    const Case cases[] = {
        {nullptr, nullptr, nullptr, nullptr, {}, false},
        {nullptr, nullptr, nullptr, "zh_CN.UTF-8", {"zh_CN"}, true},
        {nullptr, nullptr, "de_DE@euro", "zh_CN.UTF-8", {"de_DE"}, false},
        {nullptr, "ZH_TW.Big5", "de_DE", "en_GB", {"ZH_TW"}, true},
        {nullptr, "", "", "en_GB.UTF-8", {"en_GB"}, false},
        {nullptr, nullptr, nullptr, "C.UTF-8", {}, false},
        {"zh_HK:de.UTF-8@x:en", nullptr, nullptr, "en_US.UTF-8", {"zh_HK", "de", "en"}, true},
        {"zh_CN:en", "C", nullptr, nullptr, {}, false},
        {"", nullptr, nullptr, "zh", {"zh"}, true},
        {"::", nullptr, nullptr, "it_IT", {"it_IT"}, false},
        {"pt:C:zh", nullptr, nullptr, "it_IT", {"pt"}, false},
    };
    for (const auto& row : cases) {
        const std::pair<const char*, const char*> variables[] = {{"LANGUAGE", row.language},
                                                                 {"LC_ALL", row.all},
                                                                 {"LC_MESSAGES", row.messages},
                                                                 {"LANG", row.lang}};
        std::string shown;
        for (const auto& [name, value] : variables) {
            if (value == nullptr) {
                ::unsetenv(name);
            } else {
                ::setenv(name, value, 1);
                shown += std::string(name) + "=" + value + " ";
            }
        }
        EXPECT_EQ(preferredLanguages(), row.expected) << shown;
        EXPECT_EQ(preferredTextLanguage() == TextLanguage::chinese, row.isChinese) << shown;
    }
}

TEST(DecimalText, IsTheShortestFormThatReadsBackTheSameAndShowsAFraction) {
    using Limits = std::numeric_limits<double>;
    const std::pair<double, const char*> cases[] = {
        {48000, "48000.0"},
        {-0.0, "-0.0"},
        {44100.5, "44100.5"},
        {0.1 + 0.2, "0.30000000000000004"},
        {0.00001, "0.00001"},
        {Limits::infinity(), "inf"},
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
