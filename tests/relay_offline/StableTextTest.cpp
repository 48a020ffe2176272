#include "TarnRelay/offline/speech/StableText.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarn::relay {
namespace {

using Split = StableText::Split;

struct Growth {
    const char* name;
    std::vector<std::string> texts;
    Split last;
};

class StableTextOf : public testing::TestWithParam<Growth> {};

TEST_P(StableTextOf, KeepsTheWordsThatTheLastTextsAgreeOn) {
    StableText stable(3);
    Split split;
    for (const auto& text : GetParam().texts) {
        split = stable.update(text);
        EXPECT_EQ(split.text + split.stash, text);
    }
    EXPECT_EQ(split, GetParam().last);
}

INSTANTIATE_TEST_SUITE_P(
    Growths, StableTextOf,
    testing::Values(Growth{"TooFewTexts", {"the cat", "the cat"}, {"", "the cat"}},
                    Growth{"Settled", {"the cat", "the cat", "the cat"}, {"the cat", ""}},
                    Growth{"Growing", {"the", "the cat", "the cat sat"}, {"the", " cat sat"}},
                    Growth{"LongerWord", {"the cat", "the cats", "the cats sat"}, {"the", " cats sat"}},
                    Growth{"ShorterWord", {"a cats", "a cats", "a cat"}, {"a", " cat"}},
                    Growth{"SpaceAgainstLetter", {"ax b", "a b", "a b"}, {"", "a b"}},
                    Growth{"FirstWordReplaced", {"the cat", "a cat", "a cat"}, {"", "a cat"}},
                    Growth{"Emptied", {"the cat", "", "the cat"}, {"", "the cat"}},
                    Growth{"OldTextForgotten", {"no", "the cat", "the cat", "the cat"}, {"the cat", ""}}),
    [](const auto& growth) { return growth.param.name; });

}  // namespace
}  // namespace tarn::relay
