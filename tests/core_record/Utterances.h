#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "TarnCore/record/TranscriptFormat.h"
#include "TarnCore/record/Utterance.h"

namespace tarn::test {

/// Of one source or several, which all started at the same time.
inline Utterance said(int source, long begin, long end, std::string text, std::string translation = "") {
    using std::chrono::milliseconds;
    Utterance utterance;
    utterance.source = source;
    utterance.sourceName = source == 0 ? "Firefox" : "Microphone " + std::to_string(source);
    utterance.sourceLang = "en";
    utterance.targetLang = "es";
    utterance.begin = milliseconds(begin);
    utterance.end = milliseconds(end);
    utterance.saidAt = Utterance::TimePoint(milliseconds(1764142851000 + begin));
    utterance.text = std::move(text);
    utterance.translation = std::move(translation);
    return utterance;
}

inline Utterance notTranslated(long begin, long end) {
    Utterance gap = said(0, begin, end, "");
    gap.kind = Utterance::Kind::untranslated;
    gap.seconds = static_cast<double>(end - begin) / 1000;
    return gap;
}

inline TranscriptOptions as(TranscriptFormat format, TranscriptTexts texts = TranscriptTexts::both) {
    TranscriptOptions options;
    options.format = format;
    options.texts = texts;
    options.gapText = [](double seconds) {
        return "[" + std::to_string(int(seconds)) + " s not translated]";
    };
    return options;
}

/// Somebody's words, in scripts of all kinds, with what no service should send.
class Chatter {
public:
    explicit Chatter(unsigned seed) : chance_(seed) {}

    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(chance_); }

    std::string text() {
        static const std::vector<std::string> words{"so",
                                                    "we",
                                                    "meeting",
                                                    "afternoon,",
                                                    "begin.",
                                                    "Donaudampfschifffahrtsgesellschaft",
                                                    "naïve?",
                                                    "1.",
                                                    "会议将在十分钟后开始，",
                                                    "请关窗。",
                                                    "ありがとうございます",
                                                    "회의는",
                                                    "Привет!",
                                                    "مرحبا،",
                                                    "👩‍👩‍👧",
                                                    "<i>",
                                                    "-->",
                                                    "&amp;",
                                                    "{\\an8}",
                                                    "=1+1",
                                                    "\xff\xfe",
                                                    "\u202e",
                                                    "\n\n",
                                                    "\t",
                                                    "WEBVTT",
                                                    "*b*",
                                                    std::string(90, 'x')};
        std::string text;
        for (int left = upTo(40); left > 0; --left) {
            text += words[static_cast<std::size_t>(upTo(static_cast<int>(words.size()) - 1))];
            text += upTo(9) == 0 ? "" : " ";
        }
        return text;
    }

    /// What `sources` say at the same time, in the order in which it is over.
    std::vector<Utterance> talk(int sources, int count) {
        std::vector<Utterance> all;
        std::vector<long> at(static_cast<std::size_t>(sources), 0);
        for (int i = 0; i < count; ++i) {
            const int source = upTo(sources - 1);
            long& now = at[static_cast<std::size_t>(source)];
            const long begin = now + upTo(upTo(3) == 0 ? 60000 : 800);
            now = begin + upTo(9000);
            all.push_back(upTo(19) == 0 && source == 0 ? notTranslated(begin, now)
                                                       : said(source, begin, now, text(), text()));
        }
        return all;
    }

private:
    std::mt19937 chance_;
};

}  // namespace tarn::test
