// Which words are settled, and that they stay where they are, without a window.
#include "TarnApp/reading/ReadingText.h"

#include <gmock/gmock.h>

#include <random>

#include "support/Partials.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

Clock::TimePoint at(int ms) {
    return Clock::TimePoint(std::chrono::milliseconds(ms + 1000000));
}

/// "settled|tail", and what is wrong behind it.
std::string told(const SettledText& text) {
    QString all;
    for (std::size_t i = 0; i < text.settled().size(); ++i) {
        const Word& last = i + 1 == text.settled().size() ? text.open() : text.settled()[i];
        all += text.settled()[i].text + last.closing + (last.spaced ? " " : "");
    }
    all += u'|';
    for (const Word& word : text.tail()) {
        all += word.text + word.closing + (word.spaced ? " " : "");
    }
    for (const auto& wrong : text.wrong()) {
        all += QString(" %1+%2>%3+%4")
                   .arg(wrong.first)
                   .arg(wrong.count)
                   .arg(wrong.otherFirst)
                   .arg(wrong.otherCount);
    }
    return all.toStdString();
}

TEST(SettledText, SettlesWhatTextsAgreeOnOrWhatStandsStill) {
    struct Case {
        const char* what;
        std::vector<const char*> heard;  // 100 ms apart; the last with "!" before it is final
        int wait;                        // ms, after that
        const char* told;
    };
    const Case cases[] = {
        {"the last word is open", {"the", "the meet"}, 0, "the |meet"},
        {"two agree", {"the meet", "the meeting is", "the meeting is in"}, 0, "the meeting is |in"},
        {"the last word may still grow", {"the", "the", "the"}, 0, "|the"},
        {"it stands still", {"the meet"}, 1000, "the meet|"},
        {"not long enough", {"the meet"}, 800, "|the meet"},
        {"capitals and punctuation are no other words",
         {"the", "The meeting", "the meeting, is", "The meeting"},
         0,
         "The meeting|"},
        {"goes on behind what it contradicts",
         {"the meat in", "the meat in will", "the meeting will begin"},
         0,
         "the meat in |meeting will begin"},
        {"a shorter text", {"the meat in", "the meat in will", "the"}, 0, "the meat in|"},
        {"the final one settles all", {"the meet", "!The meeting begins."}, 0, "The meeting begins.|"},
        {"its end is taken up",
         {"the meeting begins", "the meeting begins at", "!The meeting begins. Now"},
         0,
         "the meeting begins. Now|"},
        {"it contradicts",
         {"a the meat in", "a the meat in will", "!a meeting in will begin"},
         0,
         "a the meat in will begin| 1+2>1+1"},
        {"it has more",
         {"one three four", "one three four", "!one two three four"},
         0,
         "one three four| 1+0>1+1"},
        {"characters are words", {"会议将", "会议将在十", "会议将在十分。"}, 0, "会议将在十|分。"},
        {"no space and no dictionary", {"ยินดี", "ยินดีที่", "ยินดีที่ได้"}, 0, "ยินดีที่|ได้"},
        {"what is written the other way waits for its end",
         {"نستخدم New York", "نستخدم New York الآن"},
         0,
         "نستخدم |New York الآن"},
        {"and settles with it",
         {"نستخدم New York الآن في", "نستخدم New York الآن في"},
         0,
         "نستخدم New York الآن |في"},
        {"nothing", {"", " ", "!"}, 2000, "|"},
    };
    for (const Case& one : cases) {
        SettledText text({2, 1000ms});
        int now = 0;
        for (const char* heard : one.heard) {
            if (*heard == '!') {
                text.finish(heard + 1);
            } else {
                text.hear(heard, at(now += 100));
            }
        }
        text.letSettle(at(now + one.wait));
        EXPECT_EQ(told(text), one.told) << one.what;
    }
    SettledText text({2, 1000ms});
    text.hear("one two", at(0));
    text.hear("one three", at(400));
    EXPECT_EQ(text.nextSettling(at(400)), at(1400)) << "\"one\" has settled";
    text.letSettle(at(1400));
    EXPECT_FALSE(text.nextSettling(at(1400)));
}

/// A line each: settled "|" not settled, and what of it is wrong.
std::vector<std::string> linesOf(const ReadingText& text) {
    std::vector<std::string> all;
    for (const auto& line : text.lines()) {
        QString one = line.text.left(line.firm) + "|" + line.text.mid(line.firm);
        for (const auto& [start, length] : line.wrong) {
            one += " -" + line.text.mid(start, length);
        }
        all.push_back(one.toStdString());
    }
    return all;
}

TEST(ReadingText, BreaksLinesWhereTheyStay) {
    ReadingText text({2, 1000ms});
    text.setRoom(12, 1, [](const QString& line) { return static_cast<double>(line.size()); });
    text.setKept(2);
    text.hear("The meeting", at(0));
    text.hear("The meeting beg", at(100));
    EXPECT_THAT(linesOf(text), ElementsAre("The meeting|", "|beg"));
    text.hear("The meeting, begins", at(200));
    EXPECT_THAT(linesOf(text), ElementsAre("The meeting|,", "|begins")) << "punctuation has room of its own";
    text.finish("The meeting begins at ten.");
    EXPECT_THAT(linesOf(text), ElementsAre("The meeting|", "begins at|", "ten.|"));
    text.hear("一二三四五六七八九十一二三", at(300));
    EXPECT_THAT(linesOf(text),
                ElementsAre("The meeting|", "begins at|", "ten.|", "|一二三四五六七八九十一", "|二三"));
    EXPECT_EQ(text.linesGone(), 0U);
    text.finish("一二三四五六七八九十一。");
    text.hear("incomprehensibilities", at(400));
    EXPECT_THAT(linesOf(text), ElementsAre("一二三四五六七八九十一。|", "|incomprehen", "|sibilities"))
        << "the first has gone";
    EXPECT_EQ(text.linesGone(), 3U);
    EXPECT_EQ(text.takeDropped(), 12 + 10 + 5);
    EXPECT_EQ(text.dimmed(), (std::vector<ReadingText::Range>{{13, 11}, {25, 10}}));
    text.clear();
    text.hear("we meat now", at(500));
    text.hear("we meat now or", at(600));
    text.finish("we will meet now or never");
    EXPECT_THAT(linesOf(text), ElementsAre("we meat now| -meat", "or never|", "… will meet|", "…|"));
    text.setRoom(30, 1, [](const QString& line) { return static_cast<double>(line.size()); });
    EXPECT_THAT(linesOf(text), ElementsAre("we meat now or never| -meat", "… will meet …|"));
}

void hear(ReadingText& text, test::SettledMoves& moves, const test::Partial& partial, int from) {
    const Clock::TimePoint now = at(from + partial.at);
    text.letSettle(now);
    moves.look(text);
    if (partial.isFinal) {
        text.finish(partial.text);
    } else {
        text.hear(partial.text, now);
    }
    moves.look(text);
}

/// What the offline engine told of speech, as it came and with more changes of mind.
TEST(ReadingText, NeverMovesASettledWord) {
    const auto recorded = test::partialsIn(TARN_SOURCE_DIR "/tests/reading/partials.tsv");
    ASSERT_EQ(recorded.size(), 515U);
    std::vector<std::vector<test::Partial>> streams{recorded};
    std::mt19937_64 random(17);
    for (int i = 0; i < 4; ++i) {
        streams.push_back(test::rewritten(recorded, random));
    }
    for (const char* const sentence :
         {"会议将在十分钟后开始。（然后）我们去 New York 吃晚饭，好吗？",
          "تبدأ الجلسة في New York الساعة 10:30 صباحا، ثم نعود.",
          "資料は明日までに「お送り」します。よろしくお願いします。", "ยินดีที่ได้รู้จักคุณมาก เจอกันพรุ่งนี้"}) {
        streams.push_back(test::rewritten(test::grown(sentence, 90), random));
    }
    for (std::size_t i = 0; i < streams.size(); ++i) {
        for (const bool isOfTranslation : {false, true}) {
            ReadingText text;
            text.setRoom(16 + 9 * static_cast<double>(i), 1,
                         [](const QString& line) { return static_cast<double>(line.size()); });
            text.setKept(1 + static_cast<int>(i % 5));
            test::SettledMoves moves;
            for (const auto& partial : streams[i]) {
                if (partial.isOfTranslation == isOfTranslation) {
                    hear(text, moves, partial, 0);
                }
            }
            EXPECT_EQ(moves.moves(), 0) << i;
            EXPECT_THAT(text.dimmed().size(), testing::Lt(40U)) << i;
        }
    }
}

TEST(ReadingText, StaysSmallInASpeechWithoutEnd) {
    ReadingText text;
    text.setRoom(40, 1, [](const QString& line) { return static_cast<double>(line.size()); });
    test::SettledMoves moves;
    QString all;
    for (int i = 0; i < 1500; ++i) {
        all += QString("word%1 ").arg(i);
        hear(text, moves, {i * 200, false, i == 1499, all}, 0);
    }
    EXPECT_EQ(moves.moves(), 0);
    EXPECT_LE(text.shown().size(), 2500);
    EXPECT_TRUE(text.shown().endsWith("word1499"));
    EXPECT_GT(text.linesGone(), 200U);
}

}  // namespace
}  // namespace tarn
