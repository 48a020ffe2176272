#include "TarnCore/record/Transcript.h"

#include <gmock/gmock.h>

#include <boost/json/parse.hpp>

#include "TarnPlatform/base/Text.h"
#include "Utterances.h"

namespace tarn {
namespace {

using test::as;
using test::said;
using testing::HasSubstr;
using testing::Not;

constexpr auto txt = TranscriptFormat::txt;
constexpr auto markdown = TranscriptFormat::markdown;
constexpr auto srt = TranscriptFormat::srt;
constexpr auto webvtt = TranscriptFormat::webvtt;
constexpr auto csv = TranscriptFormat::csv;
constexpr auto json = TranscriptFormat::json;
constexpr auto jsonl = TranscriptFormat::jsonl;
constexpr TranscriptFormat allFormats[] = {txt, markdown, srt, webvtt, csv, json, jsonl};

TEST(Transcript, TellsTimesNamesBothTextsWithGaps) {
    const std::vector<Utterance> meeting{said(0, 1000, 3000, "good morning", "buenos días"),
                                         said(1, 62000, 64000, "hello", "hola"),
                                         test::notTranslated(70000, 150000)};
    const std::pair<TranscriptFormat, const char*> cases[] = {
        {srt,
         "1\n00:00:01,000 --> 00:00:03,000\n- Firefox: good morning\nbuenos días\n\n"
         "2\n00:01:02,000 --> 00:01:04,000\n- Microphone 1: hello\nhola\n\n"
         "3\n00:01:10,000 --> 00:02:30,000\n[80 s not translated]\n\n"},
        {webvtt,
         "WEBVTT\n\n00:00:01.000 --> 00:00:03.000\n<v Firefox>good morning\nbuenos días\n\n"
         "00:01:02.000 --> 00:01:04.000\n<v Microphone 1>hello\nhola\n\n"
         "00:01:10.000 --> 00:02:30.000\n<v Firefox>[80 s not translated]\n\n"},
        {txt,
         "[0:00:01] Firefox: good morning\nbuenos días\n\n[0:01:02] Microphone 1: hello\nhola\n\n"
         "[0:01:10] Firefox: [80 s not translated]\n"},
        {markdown,
         "**0:00:01 Firefox** good morning\n\n> buenos días\n\n**0:01:02 Microphone 1** hello\n\n> hola\n\n"
         "**0:01:10 Firefox** \\[80 s not translated\\]\n"},
        {csv,
         "begin,end,said_at,source,from,to,original,translation,note\r\n"
         "00:00:01.000,00:00:03.000,2025-11-26T07:40:52.000Z,\"Firefox\",\"en\",\"es\",\"good "
         "morning\",\"buenos "
         "días\",\"\"\r\n"
         "00:01:02.000,00:01:04.000,2025-11-26T07:41:53.000Z,\"Microphone "
         "1\",\"en\",\"es\",\"hello\",\"hola\","
         "\"\"\r\n"
         "00:01:10.000,00:02:30.000,2025-11-26T07:42:01.000Z,\"Firefox\",\"en\",\"es\",\"\",\"\",\"[80 s not "
         "translated]\"\r\n"},
        {jsonl,
         R"({"begin":1.0,"end":3.0,"said_at":"2025-11-26T07:40:52.000Z","source":1,"name":"Firefox","from":"en","to":"es","original":"good morning","translation":"buenos días"}
{"begin":62.0,"end":64.0,"said_at":"2025-11-26T07:41:53.000Z","source":2,"name":"Microphone 1","from":"en","to":"es","original":"hello","translation":"hola"}
{"begin":70.0,"end":150.0,"said_at":"2025-11-26T07:42:01.000Z","source":1,"name":"Firefox","from":"en","to":"es","not_translated_s":80.0}
)"},
    };
    for (const auto& [format, expected] : cases) {
        EXPECT_EQ(writeTranscript(meeting, as(format)), expected);
    }
    const auto one = as(txt, TranscriptTexts::translation);
    EXPECT_EQ(writeTranscript(std::span(meeting).first(1), one), "[0:00:01] buenos días\n");
}

TEST(Transcript, MakesWhateverIsSaidHarmless) {
    struct Case {
        TranscriptFormat format;
        const char* text;
        const char* expected;
        const char* unwanted;
    };
    const Case cases[] = {
        {srt, "a --> b", "a → b", "a -->"},
        {srt, "<b>x</b> {\\an8}1 < 2 c:\\new", "‹b>x‹/b> ｛＼an8｝1 < 2 c:＼new", "<b"},
        {srt, "one\n\n2\r\nthree", "one 2 three\n\n", "\n2"},
        {webvtt, "a --> <b>&", "a --&gt; &lt;b&gt;&amp;", "a -->"},
        {webvtt, "one\n\nNOTE two", "one NOTE two\n\n", "\nNOTE"},
        {txt, "a\x1b[2J\x07\u0085 b\u2028c", "a [2J b c\n", "\x1b"},
        {txt, "\u202egnp.exe\u2066x\u2069", "gnp.exex", "\u202e"},
        {txt, "\xff\xe2\x82z\xed\xa0\x80", "\uFFFD\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD", "\xff"},
        {markdown, "# 1. *x* [a](b) <i> `c`", "\\# 1. \\*x\\* \\[a\\](b) \\<i\\> \\`c\\`", " <i"},
        {markdown, "1. x", "** 1\\. x", "1. x"},
        {csv, "=cmd|'/c calc'!A0", "\"'=cmd|'/c calc'!A0\"", "\"=cmd"},
        {csv, "\t\r-1+1", "\"'-1+1\"", "\"-1"},
        {csv, "＠x", "\"'＠x\"", "\"＠"},
        {csv, "he said \"no\",\nthen", "\"he said \"\"no\"\", then\"", ",\n"},
        {json, "\x1b\u0085\u202e\"\\\xff", R"("\u001b\u0085\u202e\"\\�")", "\u202e"},
    };
    for (const Case& row : cases) {
        const std::vector<Utterance> one{said(0, 0, 5000, row.text)};
        const auto transcript = writeTranscript(one, as(row.format));
        EXPECT_THAT(transcript, HasSubstr(row.expected));
        EXPECT_THAT(transcript, Not(HasSubstr(row.unwanted))) << row.expected;
    }
}

TEST(Transcript, IsTheSameWhenItGrowsAndNeverShrinks) {
    for (unsigned seed = 0; seed < 6; ++seed) {
        for (const auto format : allFormats) {
            test::Chatter chatter(seed);
            const auto talk = chatter.talk(seed % 2 == 0 ? 1 : 4, 60);
            auto options = as(format);
            options.namesSources = seed % 2 != 0;
            Transcript growing(options);
            auto [keep, file, settled] = growing.start();
            for (const Utterance& utterance : talk) {
                const auto change = growing.add(utterance);
                ASSERT_LE(change.keep, file.size());
                ASSERT_GE(change.keep, settled);
                settled = change.settled;
                ASSERT_GE(change.keep + change.bytes.size(), file.size());
                file.replace(change.keep, std::string::npos, change.bytes);
                ASSERT_TRUE(isUtf8(file));
                if (format == json) {
                    ASSERT_NO_THROW(static_cast<void>(boost::json::parse(file)));
                }
            }
            if (!options.namesSources) {
                ASSERT_EQ(file, writeTranscript(talk, options)) << seed;
            }
        }
    }
}

TEST(Transcript, GivesWhatComesLateItsPlace) {
    Transcript growing(as(txt, TranscriptTexts::original));
    std::string file = growing.start().bytes;
    for (const auto& utterance : {said(0, 5000, 6000, "first"), said(0, 100000, 101000, "third"),
                                  said(1, 50000, 52000, "second"), said(0, 400000, 401000, "fifth"),
                                  said(1, 300000, 302000, "fourth"), said(0, 4000, 4500, "too late")}) {
        const auto change = growing.add(utterance);
        file.replace(change.keep, std::string::npos, change.bytes);
    }
    EXPECT_EQ(file,
              "[0:00:05] first\n[0:00:50] second\n[0:00:04] too late\n[0:01:40] third\n[0:05:00] fourth\n"
              "[0:06:40] fifth\n");
}

TEST(Transcript, PutsRunsThatBeganAtOtherTimesOnOneLineOfTime) {
    auto again = said(0, 2000, 3000, "again");
    again.saidAt += std::chrono::seconds(600);
    const std::vector<Utterance> runs{said(0, 1000, 2000, "once"), again};
    auto options = as(txt, TranscriptTexts::original);
    EXPECT_EQ(writeTranscript(runs, options), "[0:00:01] once\n[0:10:02] again\n");
    options.isOfRecording = true;
    EXPECT_EQ(writeTranscript(runs, options), "[0:00:01] once\n[0:00:02] again\n");
}

}  // namespace
}  // namespace tarn
