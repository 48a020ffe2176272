// The pair that a first run takes, by what the server can do and what the user speaks.

#include "TarnApp/session/Languages.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

using Codes = std::vector<std::string>;

const ServerLanguages englishOnly{{"en"}, {{"en", {"ca", "fr", "es", "en"}}}, {}};
const ServerLanguages many{{"de", "zh", "en"}, {{"zh", {"en", "de"}}, {"en", {"de"}}, {"de", {"en"}}}, {}};
const ServerLanguages heardOnly{{"en", "zh"}, {}, {}};
const ServerLanguages strange{{"tlh", "x"}, {{"tlh", {"x"}}}, {}};

TEST(FirstLanguagesTest, TakesWhatTheServerCanDoIntoTheUsersOwnLanguageWherePossible) {
    struct Case {
        const ServerLanguages& server;
        std::optional<std::string> source, target;
        Codes preferred;
        std::optional<LanguagePair> taken;
    };
    const Case cases[] = {
        {englishOnly, {}, {}, {"en_US"}, LanguagePair{"en", "es"}},
        {englishOnly, {}, {}, {"de_DE", "fr_FR", "es"}, LanguagePair{"en", "fr"}},
        {englishOnly, {}, {}, {}, LanguagePair{"en", "es"}},
        {englishOnly, {}, "fr", {"es"}, LanguagePair{"en", "fr"}},
        {englishOnly, {}, "ja", {"es"}, std::nullopt},
        {englishOnly, "zh", {}, {"es"}, std::nullopt},
        {many, {}, {}, {"de_AT"}, LanguagePair{"zh", "de"}},
        {many, "en", {}, {"zh_CN", "de"}, LanguagePair{"en", "de"}},
        {many, {}, {}, {"th"}, LanguagePair{"zh", "en"}},
        {heardOnly, {}, {}, {"th"}, LanguagePair{"zh", "th"}},
        {strange, {}, {}, {"en"}, std::nullopt},
        {ServerLanguages(), {}, {}, {"en"}, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(firstPair(c.server, {{"zh", "en"}, c.source, c.target, c.preferred}), c.taken);
    }
}

TEST(FirstLanguagesTest, KnowsWhatThePickersMayOffer) {
    EXPECT_EQ(heardBy(many), (Codes{"zh", "en", "de"}));
    EXPECT_EQ(targetsOf(many, "zh"), (Codes{"en", "de"}));
    EXPECT_EQ(targetsOf(englishOnly, ""), (Codes{"en", "es", "fr"}));
    EXPECT_EQ(targetsOf(englishOnly, "zh"), Codes());
    EXPECT_EQ(targetsOf(heardOnly, "en"), std::nullopt);
    EXPECT_EQ(heardBy(ServerLanguages()), std::nullopt);
}

}  // namespace
}  // namespace tarn
