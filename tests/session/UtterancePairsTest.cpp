// Which texts and places make one utterance, from what services tell of them in every way they do.
#include "TarnApp/session/UtterancePairs.h"

#include <gmock/gmock.h>

#include <string>
#include <variant>
#include <vector>

namespace tarn {
namespace {

using namespace std::chrono_literals;
using Kind = StreamProgress::Kind;
using Millis = std::chrono::milliseconds;

/// So much sound has been sent from now on.
struct Sent {
    Millis place;
};
struct SkippedVoice {
    double seconds;
};
using Step = std::variant<Sent, SkippedVoice, TarnTranslateEvent>;

Step started(const char* id, std::optional<std::int64_t> place) {
    return TarnTranslateEvent(StreamProgress{Kind::speechStarted, id, place});
}
Step stopped(const char* id, std::optional<std::int64_t> place) {
    return TarnTranslateEvent(StreamProgress{Kind::speechStopped, id, place});
}
Step sourceOf(const char* id) {
    return TarnTranslateEvent(StreamProgress{Kind::sourceDone, id});
}
Step answers(const char* id) {
    return TarnTranslateEvent(StreamProgress{Kind::responseBegun, "r", {}, id});
}
const Step responseDone = TarnTranslateEvent(StreamProgress{Kind::responseDone, "r"});
Step heard(const char* text, bool done = true) {
    return TarnTranslateEvent(translate::SourceText{text, done});
}
Step translated(const char* text, bool done = true) {
    return TarnTranslateEvent(translate::TranslatedText{text, done});
}
Step gap(double seconds, std::optional<std::int64_t> place = {}) {
    return TarnTranslateEvent(translate::Gap{seconds, place.has_value(), place});
}
Step sent(Millis place) {
    return Sent{place};
}

const auto noon = Utterance::TimePoint(Millis(1'795'000'000'000));

std::string lineOf(const Utterance& said) {
    const std::string place = std::to_string(said.begin.count()) + "-" + std::to_string(said.end.count());
    EXPECT_EQ(said.saidAt - noon, said.begin) << "the clock of this test began with the sound";
    switch (said.kind) {
        case Utterance::Kind::speech:
            return place + " " + said.text + "|" + said.translation;
        case Utterance::Kind::untranslated:
            return place + " gap " + std::to_string(static_cast<int>(said.seconds));
        case Utterance::Kind::unspoken:
            break;
    }
    return place + " unspoken " + std::to_string(static_cast<int>(said.seconds));
}

struct Case {
    const char* name;
    std::vector<Step> steps;
    std::vector<std::string> told;     ///< before the run is over
    std::vector<std::string> atEnd{};  ///< once it is
};

const std::vector<Case> cases = {
    {"namesDecideWhateverTheOrder",
     {sent(9s), started("a", 1000), stopped("a", 2000), started("b", 3000), stopped("b", 4000), sourceOf("b"),
      heard("two"), sourceOf("a"), heard("one"), answers("a"), translated("uno"), answers("b"),
      translated("dos")},
     {"1000-2000 one|uno", "3000-4000 two|dos"}},
    {"withoutNamesTheOrderDecides",
     {sent(9s), started("", 1000), stopped("", 2000), heard("one"), started("", 3000), stopped("", 4000),
      heard("two"), translated("u", false), translated("uno"), translated("dos")},
     {"1000-2000 one|uno", "3000-4000 two|dos"}},
    {"withoutPlacesTheSoundThatWasSentTellsThem",
     {sent(1s), heard("on", false), sent(3s), heard("one"), translated("uno"), sent(5s), heard("two"),
      sent(6s), translated("dos")},
     {"1000-3000 one|uno", "5000-5000 two|dos"}},
    {"placesThatCannotBeAreNotBelieved",
     {sent(2s), started("a", -5), sent(4s), stopped("a", 99'000'000), heard("one"), translated("uno")},
     {"2000-4000 one|uno"}},
    {"noiseIsNoUtterance",
     {sent(9s), started("n", 100), stopped("n", 300), started("a", 1000), stopped("a", 2000), sourceOf("a"),
      heard("one"), translated("uno"), started("m", 3000), stopped("m", 3100), sourceOf("m"), heard(""),
      answers("m"), translated(" ")},
     {"1000-2000 one|uno"}},
    {"whatALaterTranslationHasPassedIsToldWithoutOne",
     {sent(9s), started("a", 1000), stopped("a", 2000), sourceOf("a"), heard("one"), started("b", 3000),
      stopped("b", 4000), sourceOf("b"), heard("two"), answers("b"), translated("dos"), answers("a"),
      translated("uno")},
     {"1000-2000 one|", "3000-4000 two|dos", "4000-4000 |uno"}},
    {"aResponseThatFailsIsNotAwaited",
     {sent(9s), started("a", 1000), stopped("a", 2000), sourceOf("a"), heard("one"), answers("a"),
      responseDone},
     {"1000-2000 one|"}},
    {"aTranslationMayComeBeforeItsSource",
     {sent(9s), started("a", 1000), stopped("a", 2000), translated("uno"), started("b", 3000),
      stopped("b", 4000), sourceOf("a"), heard("one"), translated("dos"), sourceOf("b"), heard("two")},
     {"1000-2000 one|uno", "3000-4000 two|dos"}},
    {"aServiceThatTellsNoSourceIsWaitedForNoLongerThanItsNextTranslation",
     {sent(2s), translated("uno"), sent(4s), translated("dos")},
     {"0-2000 |uno", "2000-4000 |dos"}},
    {"theEndTellsWhatIsLeft",
     {sent(9s), started("a", 1000), stopped("a", 2000), sourceOf("a"), heard("one"), started("b", 3000)},
     {},
     {"1000-2000 one|"}},
    {"aNewConnectionThatHearsTheSameAgainMakesNoSecondUtterance",
     {sent(9s), started("item_7", 1000), stopped("item_7", 2000), sourceOf("item_7"), heard("one"), sent(20s),
      started("item_1", 950), stopped("item_1", 2010), sourceOf("item_1"), heard("one", false),
      started("item_2", 3000), stopped("item_2", 4000), sourceOf("item_2"), heard("two"), answers("item_1"),
      translated("uno"), answers("item_2"), translated("dos")},
     {"1000-2010 one|uno", "3000-4000 two|dos"}},
    {"soIsSpeechThatTheOldConnectionHadNotHeardToItsEnd",
     {sent(9s), started("item_7", 8000), heard("o", false), sent(20s), started("item_1", 8100),
      stopped("item_1", 9500), sourceOf("item_1"), heard("one"), answers("item_1"), translated("uno")},
     {"8000-9500 one|uno"}},
    {"gapsHaveTheirPlaceAndAreAddedUp",
     {sent(10s), started("a", 1000), stopped("a", 2000), heard("one"), translated("uno"), sent(60s),
      gap(20, 2000), gap(10, 22000), started("b", 40000), stopped("b", 41000), heard("two"),
      translated("dos"), gap(3, 50000)},
     {"1000-2000 one|uno", "2000-32000 gap 30", "40000-41000 two|dos"},
     {"50000-53000 gap 3"}},
    {"soundThatTheServiceNeverGotIsNotInItsTimes",
     {sent(20s), gap(5), sent(30s), started("a", 10000), stopped("a", 11000), heard("one"),
      translated("uno")},
     {"15000-20000 gap 5", "15000-16000 one|uno"}},
    {"aVoiceThatWasSkippedIsToldAtOnce",
     {sent(9s), started("a", 1000), stopped("a", 2000), heard("one"), translated("uno"), SkippedVoice{12}},
     {"1000-2000 one|uno", "2000-2000 unspoken 12"}},
};

class UtterancePairsTest : public testing::TestWithParam<Case> {};

TEST_P(UtterancePairsTest, tellsWhatBelongsTogether) {
    Utterance frame;
    frame.targetLang = "es";
    UtterancePairs pairs(frame);
    UtterancePairs::Now now{0s, noon};
    std::vector<std::string> told;
    const auto take = [&told](const UtterancePairs::Finished& finished) {
        for (const Utterance& said : finished) {
            EXPECT_EQ(said.targetLang, "es");
            told.push_back(lineOf(said));
        }
    };
    for (const Step& step : GetParam().steps) {
        if (const auto* const place = std::get_if<Sent>(&step)) {
            now = {place->place, noon + place->place};
        } else if (const auto* const skipped = std::get_if<SkippedVoice>(&step)) {
            take({pairs.skipVoice(skipped->seconds, now)});
        } else {
            take(pairs.take(std::get<TarnTranslateEvent>(step), now));
        }
    }
    EXPECT_EQ(told, GetParam().told);
    told.clear();
    take(pairs.finish());
    EXPECT_EQ(told, GetParam().atEnd);
}

INSTANTIATE_TEST_SUITE_P(, UtterancePairsTest, testing::ValuesIn(cases),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tarn
