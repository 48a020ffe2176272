// The installed eSpeak NG as it is, and programs that misbehave in its place.

#include "TarnRelay/offline/voice/EspeakSynthesiser.h"

#include <gmock/gmock.h>

#include <cmath>
#include <future>
#include <numeric>

#include "Processes.h"
#include "support/Program.h"

namespace tarn::relay {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kSentence = "La reunión empezará en diez minutos";

EspeakSynthesiser& installed() {
    static EspeakSynthesiser synthesiser;
    return synthesiser;
}

double seconds(const Speech& speech) {
    return static_cast<double>(speech.samples.size()) / speech.rate;
}

double loudness(const Speech& speech) {
    const double sum = std::accumulate(speech.samples.begin(), speech.samples.end(), 0.0,
                                       [](double total, double sample) { return total + sample * sample; });
    return std::sqrt(sum / static_cast<double>(speech.samples.size())) / 32768;
}

TEST(EspeakSynthesiser, SpeaksASpanishSentenceAudiblyAndInPlausibleTime) {
    const auto speech = installed().speak(kSentence, "", "es");
    ASSERT_TRUE(speech) << speech.error().description;
    EXPECT_EQ(speech->rate, 22050);
    EXPECT_GT(seconds(*speech), 1.5);
    EXPECT_LT(seconds(*speech), 4.0);
    EXPECT_GT(loudness(*speech), 0.02);
    EXPECT_THAT(test::ownChildren(), IsEmpty());
}

TEST(EspeakSynthesiser, SpeaksLanguagesByTheirUsualCodes) {
    for (const auto* const language :
         {"en", "es", "fr",  "fr-fr", "pt", "pt-pt", "pt-br", "zh", "zh-CN", "gl", "oc",
          "ca", "eo", "hbs", "hr",    "ja", "ko",    "ar",    "ru", "de",    "it"}) {
        EXPECT_TRUE(installed().speaks(language)) << language;
        const auto speech = installed().speak("123", "", language);
        ASSERT_TRUE(speech) << language << ": " << speech.error().description;
        EXPECT_GT(seconds(*speech), 0.3) << language;
    }
    EXPECT_FALSE(installed().speaks("qqq"));
    EXPECT_EQ(installed().speak("123", "", "qqq").error().kind, ErrorKind::unavailable);
}

TEST(EspeakSynthesiser, HonoursAKnownVoiceAndForgetsAnUnknownOne) {
    const auto usual = installed().speak(kSentence, "", "es");
    const auto american = installed().speak(kSentence, "spanish_(latin_america)", "es");
    const auto unknown = installed().speak(kSentence, "../../etc/passwd", "es");
    ASSERT_TRUE(usual && american && unknown);
    EXPECT_NE(usual->samples, american->samples);
    EXPECT_EQ(usual->samples, unknown->samples);
    EXPECT_EQ(american->samples, installed().speak(kSentence, "es-419", "es")->samples);
}

TEST(EspeakSynthesiser, ReadsAnyTextAloudAsText) {
    for (const std::string text : {"-v en --help", "<b>uno</b> & dos", "[[h@l'oU]]", "uno\n\n\ndos",
                                   "uno 🎧 東京", "uno\xff dos", "$(reboot) `reboot` \"'"}) {
        const auto speech = installed().speak(text, "", "es");
        ASSERT_TRUE(speech) << text << ": " << speech.error().description;
        EXPECT_GT(seconds(*speech), 0.2) << text;
    }
    const auto nothing = installed().speak(" \n", "", "es");
    ASSERT_TRUE(nothing);
    EXPECT_THAT(nothing->samples, IsEmpty());
    EXPECT_EQ(installed().speak(std::string(65537, 'x'), "", "es").error().kind, ErrorKind::invalidInput);
}

TEST(EspeakSynthesiser, HasNoVoicesWithoutTheProgram) {
    EspeakSynthesiser missing("no-such-program-of-tarn");
    EXPECT_FALSE(missing.speaks("es"));
    EXPECT_EQ(missing.speak(kSentence, "", "es").error().kind, ErrorKind::unavailable);
}

/// A program with one Spanish voice that does `script` with every text; $0.wav holds two samples.
std::string voice(const test::TemporaryFolder& folder, const std::string& script) {
    const std::string wave(
        "RIFF....WAVEfmt \x10\0\0\0\1\0\1\0\x22\x56\0\0\x44\xac\0\0\2\0\x10\0data\xff\xff\xff\x7f\1\0\2\0",
        48);
    folder.write("voice.wav", wave);
    return folder.writeProgram(
        "voice",
        "#!/bin/sh\n[ $1 = --voices ] && echo ' 5 es --/M Spanish roa/es' && exit\ncat > /dev/null\n" +
            script + "\n");
}

TEST(EspeakSynthesiser, RunsAProgramThatDiesInMidSentenceOnceMore) {
    const test::TemporaryFolder folder;
    EspeakSynthesiser once(
        voice(folder, "[ -e $0.died ] && exec cat $0.wav; touch $0.died; head -c 46 $0.wav; exit 1"), 30s);
    const auto speech = once.speak("hola", "", "es");
    ASSERT_TRUE(speech) << speech.error().description;
    EXPECT_EQ(speech->samples, (std::vector<std::int16_t>{1, 2}));
}

TEST(EspeakSynthesiser, GivesUpOnceItIsStopped) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("voice.started").c_str(), 0600), 0);
    EspeakSynthesiser hung(voice(folder, "echo started > $0.started; exec sleep 1000"), 1h);
    auto speech = std::async(std::launch::async, [&] { return hung.speak("hola", "", "es"); });
    EXPECT_EQ(test::readFile(folder.file("voice.started")), "started\n");
    hung.stop();
    EXPECT_EQ(speech.get().error().kind, ErrorKind::cancelled);
    EXPECT_EQ(hung.speak("hola", "", "es").error().kind, ErrorKind::cancelled);
}

TEST(EspeakSynthesiser, FailsWithinItsLimitWhenTheProgramDoes) {
    struct Case {
        const char* script;
        ErrorKind kind;
        const char* text;
    };
    for (const auto& [script, kind, text] :
         {Case{"exec sleep 1000", ErrorKind::timeout, "did not finish"},
          Case{"echo nonsense", ErrorKind::protocol, "not a WAV"},
          Case{"cat $0.wav; kill -KILL $$", ErrorKind::closed, "ended by signal 9"},
          Case{"cat $0.wav; exec >&-; exec sleep 1000", ErrorKind::timeout, "did not end"},
          Case{"printf 'RIFF....WAVEdata\\377\\377\\377\\377xxxx'", ErrorKind::protocol, "without sound"},
          Case{"printf 'RIFF....WAVEfmt "
               "\\020\\0\\0\\0\\1\\0\\2\\0\\104\\254\\0\\0\\0\\0\\0\\0\\4\\0\\020\\0data\\4\\0\\0\\0....'",
               ErrorKind::protocol, "16-bit mono"}}) {
        const test::TemporaryFolder folder;
        EspeakSynthesiser broken(voice(folder, script), 1s);
        ASSERT_TRUE(broken.speaks("es"));
        const auto speech = broken.speak("secret words", "", "es");
        ASSERT_FALSE(speech) << script;
        EXPECT_EQ(speech.error().kind, kind) << script;
        EXPECT_THAT(speech.error().description, HasSubstr(text));
    }
    EXPECT_THAT(test::ownChildren(), IsEmpty());
}

}  // namespace
}  // namespace tarn::relay
