// Apertium's installed pipelines as they are, stand-ins that misbehave in their place, and chains over both.

#include "TarnRelay/offline/translate/ApertiumTranslator.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

#include "Processes.h"
#include "TarnPlatform/base/Log.h"
#include "TarnRelay/offline/translate/ChainTranslator.h"
#include "support/ManualClock.h"
#include "support/Program.h"

namespace tarn::relay {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Pair = std::pair<std::string, std::string>;

/// The installed packages, with one set of pipelines for all tests. The limit is generous: a first text loads
/// the pipeline's data on a machine that may be busy.
class InstalledApertium : public testing::Test {
protected:
    static void SetUpTestSuite() {
        translator_ = std::make_unique<ApertiumTranslator>("/usr/share/apertium/modes", 30s);
    }
    static void TearDownTestSuite() { translator_.reset(); }

    static ApertiumTranslator& installed() { return *translator_; }

private:
    static inline std::unique_ptr<ApertiumTranslator> translator_;
};

TEST_F(InstalledApertium, ListsInstalledPairsByTheirShortCodesAndLeavesVariantsOut) {
    EXPECT_THAT(installed().pairs(),
                AllOf(Contains(Pair("en", "es")), Contains(Pair("es", "en")), Contains(Pair("en", "ca")),
                      Contains(Pair("en", "gl")), Contains(Pair("en", "eo")), Contains(Pair("en", "hbs")),
                      Contains(Pair("en", "hr")), Not(Contains(Pair("en", "cat_valencia")))));
    EXPECT_THAT(ApertiumTranslator("/nowhere").pairs(), IsEmpty());
}

struct Sentence {
    const char* target;
    std::string text;
    std::string translation;
};

TEST_F(InstalledApertium, TranslatesWhatARecogniserWritesIntoTidyText) {
    const std::vector<Sentence> sentences{
        {"es", "the meeting will begin in ten minutes", "La reunión empezará en diez minutos"},
        {"es", "i don't know what you mean", "No sé qué significas"},
        {"es", "she said xyzzy", "Dijo xyzzy"},
        {"es", "well", "Bien"},
        {"ca", "the man and i", "L'home i jo"},
        {"gl", "i am sure", "Estou seguro"},
        {"eo", "i'm here", "Mi estas ĉi tie"},
    };
    for (const auto& sentence : sentences) {
        EXPECT_EQ(installed().translate(sentence.text, "en", sentence.target), sentence.translation);
    }
}

TEST_F(InstalledApertium, KeepsWhatIsNotWordsAsItIs) {
    const std::vector<Sentence> sentences{
        {"es", "", ""},
        {"es", "   ", ""},
        {"es", "[x] [[y]] ^z$ {w} @v *u #t ~s ~", "[x] [[y]] ^z$ {w} @v *u #t ~s ~"},
        {"es", "<b>xyzzy</b> zzz\\qqq \\[ q/q", "<b>xyzzy</b> zzz\\qqq \\[ q/q"},
        {"es", "xyzzy\nblorp", "Xyzzy\nblorp"},
        {"es", "blorp 東京 🎧 naïveté", "Blorp 東京 🎧 naïveté"},
        {"es", std::string("xyzzy\0blorp", 11), "Xyzzy blorp"},
        {"es", ".[]", ".[]"},
        {"es", "émile", "Émile"},
        {"es", std::string(20000, 'x'), "X" + std::string(19999, 'x')},
    };
    for (const auto& sentence : sentences) {
        EXPECT_EQ(installed().translate(sentence.text, "en", sentence.target), sentence.translation);
    }
    EXPECT_EQ(installed().translate("well", "en", "es"), "Bien") << "the pipeline is still in step";
}

TEST_F(InstalledApertium, RefusesWhatItCannotTranslate) {
    EXPECT_EQ(installed().translate("x\xff", "en", "es").error().kind, ErrorKind::invalidInput);
    EXPECT_EQ(installed().translate(std::string(65537, 'x'), "en", "es").error().kind,
              ErrorKind::invalidInput);
    const auto unknown = installed().translate("well", "en", "de");
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error().kind, ErrorKind::unavailable);
    EXPECT_THAT(unknown.error().description, HasSubstr("en to de"));
}

TEST(ApertiumTranslator, TranslatesOnAfterItsPipelineWasKilled) {
    ApertiumTranslator translator("/usr/share/apertium/modes", 30s);
    ASSERT_EQ(translator.translate("well", "en", "es"), "Bien");
    for (const bool whole : {true, false}) {  // or the shell alone, with the rest holding its pipes open
        const auto children = test::ownChildren();
        ASSERT_EQ(children.size(), 1U);
        const auto end = test::watch(children.front().id);
        ::kill(whole ? -children.front().group : children.front().id, SIGKILL);
        ASSERT_TRUE(test::ends(end));
        EXPECT_EQ(translator.translate("well", "en", "es"), "Bien");
        ASSERT_EQ(test::ownChildren().size(), 1U);
        EXPECT_NE(test::ownChildren().front().id, children.front().id);
    }
}

TEST(ApertiumTranslator, EndsAPipelineThatNobodyHoldsOnceItIsIdle) {
    const auto clock = std::make_shared<test::ManualClock>();
    ApertiumTranslator translator("/usr/share/apertium/modes", 30s, clock);
    EXPECT_EQ(translator.endIdle(10min), std::nullopt);
    ASSERT_EQ(translator.translate("well", "en", "es"), "Bien");
    clock->advance(4min);
    EXPECT_EQ(translator.endIdle(10min), 6min);
    auto hold = translator.hold("en", "es");
    clock->advance(6min);
    EXPECT_EQ(translator.endIdle(10min), 10min);
    EXPECT_THAT(test::ownChildren(), testing::SizeIs(1));
    hold.reset();
    EXPECT_EQ(translator.endIdle(10min), std::nullopt);
    EXPECT_THAT(test::ownChildren(), IsEmpty());
    EXPECT_EQ(translator.translate("well", "en", "es"), "Bien");
}

TEST(ApertiumTranslator, TranslatesWhereTheUsersLocaleWasNotGenerated) {
    ::setenv("LC_ALL", "xx_YY.UTF-8", 1);
    EXPECT_EQ(ApertiumTranslator("/usr/share/apertium/modes", 30s).translate("well", "en", "es"), "Bien");
    ::unsetenv("LC_ALL");
}

/// A translator whose English-to-Spanish pipeline is a shell script; it runs with FOLDER as its first
/// variable.
struct StandIn {
    explicit StandIn(const std::string& script) {
        const auto program =
            folder.writeProgram("stand-in", "#!/bin/sh\nFOLDER=" + folder.path() + "\n" + script);
        folder.write("eng-spa.mode", program + " $1 'data'");
    }
    test::TemporaryFolder folder;
};

TEST(ApertiumTranslator, AsksAPipelineThatDiesInMidSentenceOnceMore) {
    const StandIn once("[ -e $FOLDER/died ] && exec cat\ntouch $FOLDER/died\nhead -c 3\nexit 1\n");
    ApertiumTranslator translator(once.folder.path());
    EXPECT_EQ(translator.translate("xyzzy", "en", "es"), "Xyzzy");
}

/// Writes down the way that a text took.
class Tracks : public Translator {
public:
    explicit Tracks(std::vector<Pair> pairs) : pairs_(std::move(pairs)) {}
    std::vector<Pair> pairs() const override { return pairs_; }
    Result<std::string> translate(const std::string& text, const std::string&,
                                  const std::string& target) override {
        if (target == "broken") {
            return failure(ErrorKind::closed, "the step to broken");
        }
        return text + ">" + target;
    }

private:
    std::vector<Pair> pairs_;
};

TEST(ChainTranslator, TakesTheShortestWayOfAtMostThreeSteps) {
    ChainTranslator chain(std::make_unique<Tracks>(std::vector<Pair>{{"a", "b"},
                                                                     {"b", "c"},
                                                                     {"c", "d"},
                                                                     {"d", "e"},
                                                                     {"a", "x"},
                                                                     {"x", "d"},
                                                                     {"b", "a"},
                                                                     {"x", "broken"}}));
    const auto pairs = chain.pairs();
    EXPECT_THAT(pairs, AllOf(Contains(Pair("a", "d")), Contains(Pair("a", "e")), Contains(Pair("b", "e")),
                             Not(Contains(Pair("a", "a"))), Not(Contains(Pair("e", "a")))));
    EXPECT_EQ(chain.translate("0", "a", "d"), "0>x>d");
    EXPECT_EQ(chain.translate("0", "a", "e"), "0>x>d>e");
    EXPECT_EQ(chain.translate("0", "a", "b"), "0>b");
    EXPECT_EQ(chain.translate("0", "e", "e"), "0");
    EXPECT_EQ(chain.translate("0", "a", "broken").error().kind, ErrorKind::closed);
    EXPECT_EQ(chain.translate("0", "e", "a").error().kind, ErrorKind::unavailable);

    const ChainTranslator line(
        std::make_unique<Tracks>(std::vector<Pair>{{"a", "b"}, {"b", "c"}, {"c", "d"}, {"d", "e"}}));
    EXPECT_THAT(line.pairs(), AllOf(Contains(Pair("a", "d")), Not(Contains(Pair("a", "e")))));
}

TEST(ChainTranslator, SaysOnceThatAPairIsChained) {
    ChainTranslator chain(std::make_unique<ApertiumTranslator>("/usr/share/apertium/modes", 30s));
    std::vector<std::string> lines;
    setLogSink([&lines](std::string_view line) { lines.emplace_back(line); });
    EXPECT_EQ(chain.translate("bien", "es", "gl"), "Ben");
    EXPECT_EQ(chain.translate("bien", "es", "gl"), "Ben");
    EXPECT_EQ(chain.translate("well", "en", "es"), "Bien");
    setLogSink({});
    EXPECT_THAT(lines, ElementsAre("[relay] es to gl is chained: es -> en -> gl"));
}

}  // namespace
}  // namespace tarn::relay
