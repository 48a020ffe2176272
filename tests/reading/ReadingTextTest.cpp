// Which words are settled, and that they stay where they are, without a window.
#include "TarnApp/reading/SettledText.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

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

}  // namespace
}  // namespace tarn
