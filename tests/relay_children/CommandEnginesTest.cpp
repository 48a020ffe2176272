// The three command engines with real scripts that die, hang, write nonsense or never stop, when they are
// told to.

#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "Processes.h"
#include "TarnRelay/offline/speech/CommandRecogniser.h"
#include "TarnRelay/offline/translate/CommandTranslator.h"
#include "TarnRelay/offline/voice/CommandSynthesiser.h"
#include "support/Program.h"

namespace tarn::relay {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Long enough for a busy machine to start python3; the later one is what each hang costs.
constexpr AnswerLimits kLimits{.first = 30s, .later = 1500ms};

/// Shared by the scripts: they misbehave in the way that the question names.
const std::string kFaults = R"py(
import json, os, sys, time
out = sys.stdout.buffer
def misbehave(how):
    if how == "die": os._exit(9)
    if how == "hang": time.sleep(1000)
    if how == "garbage": out.write(b"nonsense\n"); out.flush(); return True
    if how == "deep": out.write(b"[" * 5000 + b"\n"); out.flush(); return True
    if how == "untexted": out.write(b'{"words": 5}\n'); out.flush(); return True
    if how == "latin": out.write(b'{"text": "\xe9", "final": true}\n'); out.flush(); return True
    while how == "flood": out.write(b"x" * 65536)
    while how == "lines": out.write(b'{"text": "x", "final": true}\n' * 1000)
    return False
)py";

struct Fault {
    const char* how;
    ErrorKind kind;
};

class CommandEngines : public testing::Test {
protected:
    /// Each engine has ended with its test: nothing may be left of its commands.
    void TearDown() override { EXPECT_THAT(test::ownChildren(), IsEmpty()); }

    std::string command(const std::string& script) {
        return "exec python3 " + folder_.write("engine.py", kFaults + script) + " 2> /dev/null";
    }

    test::TemporaryFolder folder_;
};

const std::string kTranslator = R"py(
for line in sys.stdin:
    q = json.loads(line)
    if misbehave(q["text"]): continue
    a = json.dumps({"text": q["text"].upper() + "|" + q["source"] + "|" + q["target"]}) + "\n"
    out.write(a.encode() * (2 if q["text"] == "twice" else 1)); out.flush()
)py";

TEST_F(CommandEngines, TranslatorLosesOneTextToEachFault) {
    CommandTranslator translator(command(kTranslator), kLimits);
    EXPECT_EQ(translator.translate("hello \"you\"\nñ 🎧", "en", "es"), "HELLO \"YOU\"\nÑ 🎧|en|es");
    const Fault faults[] = {{"die", ErrorKind::closed},       {"hang", ErrorKind::timeout},
                            {"garbage", ErrorKind::protocol}, {"deep", ErrorKind::protocol},
                            {"latin", ErrorKind::protocol},   {"flood", ErrorKind::protocol},
                            {"untexted", ErrorKind::protocol}};
    for (const auto& [how, kind] : faults) {
        const auto failed = translator.translate(how, "en", "es");
        ASSERT_FALSE(failed) << how;
        EXPECT_EQ(failed.error().kind, kind) << how << ": " << failed.error().description;
        EXPECT_THAT(failed.error().description, HasSubstr("the translator command"));
        EXPECT_EQ(translator.translate("hello", "en", "es"), "HELLO|en|es") << "after " << how;
    }
    EXPECT_EQ(translator.translate("x\xff", "en", "es").error().kind, ErrorKind::invalidInput);
}

TEST_F(CommandEngines, TranslatorNeverTakesAnOldAnswerForANewOne) {
    CommandTranslator translator(command(kTranslator), kLimits);
    EXPECT_EQ(translator.translate("twice", "en", "es"), "TWICE|en|es");
    EXPECT_EQ(translator.translate("once", "en", "es"), "ONCE|en|es");
}

TEST_F(CommandEngines, SynthesiserLosesOneTextToEachFault) {
    CommandSynthesiser synthesiser(command(R"py(
def head(rate, size): out.write(json.dumps({"rate": rate, "bytes": size}).encode() + b"\n"); out.flush()
for line in sys.stdin:
    q = json.loads(line)
    how = q["text"]
    if how == "die in sound": head(16000, 1000); out.write(b"x" * 500); out.flush(); os._exit(0)
    elif how == "long": head(8000, 8000 * 2 * 61)
    elif how == "negative": head(16000, -2)
    elif how == "odd": head(16000, 3)
    elif how == "fraction": head(16000, 4.5)
    elif how == "rate": head(0, 4)
    elif not misbehave(how):
        sound = b"\x01\x00\xff\xff" if q["voice"] == "v" and q["language"] == "es" else b""
        head(22050, len(sound)); out.write(sound); out.flush()
)py"),
                                   kLimits);
    const auto works = [&](const std::string& after) {
        const auto speech = synthesiser.speak("hola", "v", "es");
        ASSERT_TRUE(speech) << after << ": " << speech.error().description;
        EXPECT_EQ(speech->rate, 22050);
        EXPECT_EQ(speech->samples, (std::vector<std::int16_t>{1, -1})) << after;
    };
    works("start");
    for (const auto& [how, kind] :
         {Fault{"die in sound", ErrorKind::closed}, Fault{"garbage", ErrorKind::protocol},
          Fault{"long", ErrorKind::protocol}, Fault{"negative", ErrorKind::protocol},
          Fault{"odd", ErrorKind::protocol}, Fault{"fraction", ErrorKind::protocol},
          Fault{"rate", ErrorKind::protocol}}) {
        const auto failed = synthesiser.speak(how, "v", "es");
        ASSERT_FALSE(failed) << how;
        EXPECT_EQ(failed.error().kind, kind) << how << ": " << failed.error().description;
        works(how);
    }
    const auto nothing = synthesiser.speak("hola", "", "es");
    ASSERT_TRUE(nothing);
    EXPECT_THAT(nothing->samples, IsEmpty());
}

/// Hears one word in every 100 ms, five to an utterance; a first sample above 0 is an order to misbehave.
const std::string kRecogniser = R"py(
orders = ["", "die", "hang", "garbage", "lines", "untexted"]
count = 0
while True:
    sound = sys.stdin.buffer.read(3200)
    if len(sound) < 3200: break
    misbehave(orders[sound[0]])
    count += 1
    text = " ".join([os.environ["TARN_LANGUAGE"], os.environ["TARN_SILENCE_MS"]] + ["word"] * count)
    out.write(json.dumps({"text": text, "final": count == 5}).encode() + b"\n"); out.flush()
    if count == 5: count = 0
)py";

/// Feeds sound until `done`, without outrunning the command.
bool feedUntil(Recogniser& recogniser, std::int16_t order,
               const std::function<bool(const Result<void>&, const std::vector<Hypothesis>&)>& done) {
    std::vector<std::int16_t> sound(1600);
    sound.front() = order;
    std::vector<Hypothesis> heard;
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (done(recogniser.process(recogniser.full() ? std::span<std::int16_t>() : sound, heard), heard)) {
            return true;
        }
        std::this_thread::sleep_for(5ms);
    }
    return false;
}

bool failedOrFinal(const Result<void>& outcome, const std::vector<Hypothesis>& heard) {
    return !outcome || (!heard.empty() && heard.back().final);
}

TEST_F(CommandEngines, RecogniserHearsPartialsAndThenTheFinal) {
    CommandRecogniserFactory factory(command(kRecogniser), kLimits);
    EXPECT_THAT(factory.languages(), IsEmpty());
    const auto recogniser = factory.make("ca", 650);
    ASSERT_TRUE(recogniser);
    const std::vector<std::int16_t> sound(1600);
    std::vector<Hypothesis> heard;
    const auto hears = [&](std::size_t chunks, std::size_t lines) {
        for (std::size_t chunk = 0; chunk < chunks; ++chunk) {
            ASSERT_TRUE((*recogniser)->process(sound, heard));
        }
        while (heard.size() < lines) {
            std::this_thread::sleep_for(5ms);
            ASSERT_TRUE((*recogniser)->process({}, heard));
        }
    };
    EXPECT_FALSE((*recogniser)->inSpeech());
    hears(3, 3);
    EXPECT_EQ(heard.front(), (Hypothesis{.text = "ca 650 word", .final = false}));
    EXPECT_TRUE((*recogniser)->inSpeech());
    hears(2, 5);
    EXPECT_EQ(heard.back(), (Hypothesis{.text = "ca 650 word word word word word", .final = true}));
    EXPECT_FALSE((*recogniser)->inSpeech());
}

TEST_F(CommandEngines, RecogniserLosesOneUtteranceToEachFault) {
    CommandRecogniser recogniser(command(kRecogniser), "en", 800, kLimits);
    const std::vector<ErrorKind> kinds{ErrorKind::closed, ErrorKind::timeout, ErrorKind::protocol,
                                       ErrorKind::protocol, ErrorKind::protocol};
    for (std::size_t fault = 0; fault < kinds.size(); ++fault) {
        Result<void> last;
        const auto keep = [&last](const Result<void>& outcome, const std::vector<Hypothesis>& heard) {
            last = outcome;
            return failedOrFinal(outcome, heard);
        };
        ASSERT_TRUE(feedUntil(recogniser, 0, keep));
        ASSERT_TRUE(last) << "before fault " << fault + 1 << ": " << last.error().description;
        ASSERT_TRUE(feedUntil(recogniser, static_cast<std::int16_t>(fault + 1),
                              [&last](const Result<void>& outcome, const std::vector<Hypothesis>&) {
                                  last = outcome;
                                  return !outcome;
                              }))
            << "fault " << fault + 1;
        EXPECT_EQ(last.error().kind, kinds[fault]) << fault + 1 << ": " << last.error().description;
        EXPECT_FALSE(recogniser.inSpeech());
    }
}

TEST_F(CommandEngines, RecogniserIsFullWhileItsCommandTakesNoSound) {
    const auto gate = folder_.file("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    CommandRecogniser recogniser("read -r line < " + gate + "; cat > /dev/null; true", "en", 800, kLimits);
    const std::vector<std::int16_t> sound(16000 * 10);
    std::vector<Hypothesis> heard;
    ASSERT_TRUE(recogniser.process(sound, heard));
    EXPECT_TRUE(recogniser.full());
    std::ofstream(gate) << "go" << std::endl;
    while (recogniser.full()) {
        std::this_thread::sleep_for(5ms);
        ASSERT_TRUE(recogniser.process({}, heard));
    }
}

/// The examples of docs/engines.md, as their readers will run them.
class DocumentedEngines : public CommandEngines {
protected:
    std::string example(const std::string& name) {
        std::ostringstream page;
        page << std::ifstream(TARN_SOURCE_DIR "/docs/engines.md").rdbuf();
        const auto text = page.str();
        const std::string fence = "```python\n";
        const auto begin = text.find(fence, text.find("<!-- " + name + " -->")) + fence.size();
        return "exec python3 " + folder_.write(name, text.substr(begin, text.find("```", begin) - begin));
    }
};

TEST_F(DocumentedEngines, TranslateWithAGlossary) {
    CommandTranslator translator(example("translate.py"));
    EXPECT_EQ(translator.translate("the common tern is a small bird", "en", "es"),
              "El común charrán es un pájaro pequeño");
}

TEST_F(DocumentedEngines, SpeakAndHearTheSameSentenceAgain) {
    CommandSynthesiser synthesiser(example("speak.py"));
    const auto speech = synthesiser.speak("We will have to close the window.", "awb", "en");
    ASSERT_TRUE(speech) << speech.error().description;
    ASSERT_EQ(speech->rate, 16000);
    CommandRecogniser recogniser(example("hear.py"), "en", 800);
    std::vector<std::int16_t> sound(8000);
    sound.insert(sound.end(), speech->samples.begin(), speech->samples.end());
    sound.resize(sound.size() + 24000);
    std::vector<Hypothesis> heard;
    ASSERT_TRUE(recogniser.process(sound, heard));
    while (heard.empty() || !heard.back().final) {
        std::this_thread::sleep_for(20ms);
        ASSERT_TRUE(recogniser.process({}, heard));
    }
    EXPECT_EQ(heard.back().text, "we will have to close the window");
}

}  // namespace
}  // namespace tarn::relay
