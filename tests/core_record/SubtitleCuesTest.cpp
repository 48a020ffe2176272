#include "TarnCore/record/SubtitleCues.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "TarnCore/record/TranscriptText.h"
#include "Utterances.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;
using test::as;
using test::said;
using testing::ElementsAre;
using testing::SizeIs;

constexpr milliseconds never = milliseconds::max();

std::vector<TimedUtterance> timed(const std::vector<Utterance>& utterances) {
    TranscriptTimes times(true);
    std::vector<TimedUtterance> all;
    for (const Utterance& utterance : utterances) {
        all.push_back(times.timed(utterance));
    }
    std::ranges::stable_sort(all, {}, &TimedUtterance::begin);
    return all;
}

std::string withoutSpaces(const std::string& text) {
    return replaced(text, " ", "");
}

TEST(SubtitleLines, AreBrokenWhereAReaderWouldBreakThem) {
    const SubtitleLines lines;
    const std::pair<const char*, std::vector<SubtitleLines::Piece>> cases[] = {
        {"", {}},
        {"short", {{"short"}}},
        {"I would like a cup of coffee, and some water.",
         {{"I would like a cup of coffee,", "and some water."}}},
        {"Good. The children are playing in the garden and their mother sleeps. We close the window now.",
         {{"Good. The children are playing in", "the garden and their mother sleeps."},
          {"We close the window now."}}},
        {"会议将在十分钟后开始，请关上窗户。", {{"会议将在十分钟后开始，", "请关上窗户。"}}},
        {"https://example.org/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
         {{"https://example.org/"}, {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "aaaaaaaaa"}}},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(lines.broken(text, 2), expected);
    }
    EXPECT_EQ(lines.shortened("Built-in Audio", 14), "Built-in Audio");
    EXPECT_EQ(lines.shortened("Built-in Audio Analog", 10), "Built-in…");
    EXPECT_EQ(lines.shortened("内置音频", 6), "内置…");
}

TEST(SubtitleCues, StayToBeReadWhereNobodySpeaksMeanwhile) {
    const std::string sentence = "the meeting will begin in ten minutes";  // 37 characters: 2177 ms
    struct Case {
        Utterance first;
        long nextBegin;
        long end;
    };
    const Case cases[] = {
        {said(0, 0, 5000, sentence), 9000, 5000}, {said(0, 0, 1000, sentence), 9000, 2177},
        {said(0, 0, 1000, sentence), 1500, 1500}, {said(0, 0, 4000, sentence), 3000, 3000},
        {said(0, 0, 100, "no"), 9000, 1000},      {said(0, 0, 1000, "会议将在十分钟后开始"), 9000, 1112},
        {said(0, 0, 1000, sentence), 10, 250},
    };
    for (const Case& row : cases) {
        const SubtitleCues cues(as(TranscriptFormat::srt, TranscriptTexts::original));
        const auto both = timed({row.first, said(1, row.nextBegin, row.nextBegin + 5000, "next")});
        const auto made = cues.of(both, {}, never);
        ASSERT_THAT(made, SizeIs(2));
        EXPECT_EQ(made[0].end.count(), row.end) << row.nextBegin;
        EXPECT_EQ(made[1].begin.count(), std::max(row.nextBegin, 250L));
    }
}

TEST(SubtitleCues, DivideALongUtteranceAsItIsSaid) {
    const SubtitleCues cues(as(TranscriptFormat::srt));
    const auto made =
        cues.of(timed({said(0, 1000, 11000,
                            "The doctor will see you in half an hour. Please sit down until he comes.",
                            "医生半小时后见您。请坐下等他来。")}),
                {}, never);
    ASSERT_THAT(made, SizeIs(2));
    EXPECT_THAT(made[0].lines, ElementsAre("The doctor will see you in half an hour.", "医生半小时后见您。"));
    EXPECT_THAT(made[1].lines, ElementsAre("Please sit down until he comes.", "请坐下等他来。"));
    EXPECT_EQ(made[0].begin.count(), 1000);
    EXPECT_NEAR(static_cast<double>(made[1].begin.count()), 1000 + 10000 * 40 / 71.0, 10);
    EXPECT_EQ(made[1].end.count(), 11000);
}

TEST(SubtitleCues, NeverOverlapAndKeepEveryWord) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const auto texts = seed % 3 == 0   ? TranscriptTexts::both
                           : seed % 3 == 1 ? TranscriptTexts::original
                                           : TranscriptTexts::translation;
        test::Chatter chatter(seed);
        const auto talk = timed(chatter.talk(static_cast<int>(1 + seed % 4), 60));
        const SubtitleCues cues(as(TranscriptFormat::webvtt, texts));
        const auto made = cues.of(talk, {}, never);
        const SubtitleLines ruler;
        milliseconds before{};
        std::string words;
        for (const SubtitleCue& cue : made) {
            EXPECT_GE(cue.begin, before);
            EXPECT_GT(cue.end, cue.begin);
            before = cue.end;
            EXPECT_LE(cue.lines.size(), 2U);
            for (const std::string& line : cue.lines) {
                EXPECT_FALSE(line.empty());
                EXPECT_EQ(ruler.shortened(line, 42), line);
            }
        }
        // One source's words are in the order in which they were said; of both texts, the lines take turns.
        for (const TimedUtterance& timed : talk) {
            const std::vector<TimedUtterance> one{timed};
            std::string original;
            std::string all;
            for (const SubtitleCue& cue : cues.of(one, {}, never)) {
                for (const std::string& line : cue.lines) {
                    all += withoutSpaces(line);
                }
                original += withoutSpaces(cue.lines.front());
            }
            const auto wanted = [](const std::string& text) { return withoutSpaces(readableText(text)); };
            if (timed.utterance.kind == Utterance::Kind::speech && texts != TranscriptTexts::both) {
                EXPECT_EQ(all, wanted(texts == TranscriptTexts::original ? timed.utterance.text
                                                                         : timed.utterance.translation));
            } else if (timed.utterance.kind == Utterance::Kind::speech) {
                EXPECT_EQ(all.size(),
                          (wanted(timed.utterance.text) + wanted(timed.utterance.translation)).size());
            }
        }
    }
}

}  // namespace
}  // namespace tarn
