// The whole engine with the recogniser, translators and voices of this machine.

#include "TarnRelay/offline/OfflineEngine.h"

#include <gmock/gmock.h>

#include <set>

#include "EventLog.h"
#include "SpokenText.h"
#include "TarnRelay/offline/speech/CommandRecogniser.h"
#include "TarnRelay/offline/speech/PocketSphinxRecogniser.h"
#include "TarnRelay/offline/translate/ApertiumTranslator.h"
#include "TarnRelay/offline/translate/ChainTranslator.h"
#include "TarnRelay/offline/translate/CommandTranslator.h"
#include "TarnRelay/offline/voice/EspeakSynthesiser.h"
#include "relay_children/Processes.h"
#include "support/ManualClock.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const std::string kMeeting = "the meeting will begin in ten minutes";
const std::string kCoffee = "i would like a cup of coffee and some water";

OfflineEngine::Parts installed() {
    using namespace std::chrono_literals;
    return {.recognisers = std::make_shared<PocketSphinxFactory>(),
            .translator = std::make_shared<ChainTranslator>(
                std::make_unique<ApertiumTranslator>("/usr/share/apertium/modes", 30s)),
            .synthesiser = std::make_shared<EspeakSynthesiser>()};
}

/// A test sends faster than anyone speaks, which is no reason to complain.
OfflineEngine::Limits patient() {
    return {.maxStreams = 2, .listener = {.behindSeconds = 600, .longestSeconds = 600}};
}

std::unique_ptr<EngineStream> openStream(OfflineEngine& engine, const StreamSettings& settings,
                                         const std::shared_ptr<EventLog>& log) {
    auto stream = engine.open(settings, log);
    EXPECT_TRUE(stream) << stream.error().message;
    return std::move(*stream);
}

/// Both texts of the partial events of a type put together, in order.
std::vector<std::string> partials(const EventLog& log, std::string_view type) {
    auto texts = log.all(type, "text");
    const auto stashes = log.all(type, "stash");
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] += stashes[i];
    }
    return texts;
}

/// Position of the `n`th event of a type, counted from 1; a large number where there is none.
std::size_t place(const EventLog& log, std::string_view type, int n) {
    const auto events = log.events();
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].at("type") == boost::json::value(type) && --n == 0) {
            return i;
        }
    }
    return 1'000'000;
}

TEST(OfflineEngine, StreamsTwoSentencesIntoSpanishTextAndVoice) {
    OfflineEngine engine(installed(), patient());
    const auto log = std::make_shared<EventLog>();
    const auto stream =
        openStream(engine, {.target = "es", .source = {}, .voice = {}, .silenceMs = 800}, log);
    stream->receive(R"({"event_id":"evt_init_1","type":"session.update","session":{}})");
    say(*stream, silence(0.3) + spoken(kMeeting) + silence(1.5) + spoken(kCoffee) + silence(1.5));
    ASSERT_TRUE(log->waitFor(events::responseDone, 2));

    EXPECT_THAT(log->all(events::tarnError, "error"), IsEmpty());
    EXPECT_THAT(log->all(events::sourceCompleted, "transcript"), ElementsAre(kMeeting, kCoffee));
    EXPECT_THAT(log->all(events::translationDone, "transcript"),
                ElementsAre(AllOf(HasSubstr("reunión"), HasSubstr("diez minutos")),
                            AllOf(HasSubstr("café"), HasSubstr("agua"))));
    EXPECT_THAT(partials(*log, events::sourceText), testing::Contains("the meeting"));
    EXPECT_THAT(partials(*log, events::translationText), Not(IsEmpty()));

    EXPECT_EQ(place(*log, events::sessionCreated, 1), 0);
    EXPECT_EQ(place(*log, events::sessionUpdated, 1), 1);
    EXPECT_LT(place(*log, events::speechStarted, 1), place(*log, events::sourceText, 1));
    EXPECT_LT(place(*log, events::sourceText, 1), place(*log, events::speechStopped, 1));
    for (const int sentence : {1, 2}) {
        EXPECT_LT(place(*log, events::speechStopped, sentence),
                  place(*log, events::sourceCompleted, sentence));
        EXPECT_LT(place(*log, events::sourceCompleted, sentence),
                  place(*log, events::translationDone, sentence));
        EXPECT_LT(place(*log, events::translationDone, sentence), place(*log, events::audioDone, sentence));
    }
    EXPECT_LT(place(*log, events::translationDone, 1), place(*log, events::audioDelta, 1));
    EXPECT_LT(place(*log, events::responseDone, 1), place(*log, events::translationDone, 2));

    std::vector<std::byte> voice;
    for (const auto& delta : log->all(events::audioDelta, "delta")) {
        const auto bytes = base64Decode(delta);
        ASSERT_TRUE(bytes);
        EXPECT_LE(bytes->size(), 4800);
        EXPECT_EQ(bytes->size() % 2, 0);
        voice.insert(voice.end(), bytes->begin(), bytes->end());
    }
    EXPECT_GT(static_cast<double>(voice.size()) / 48000, 2);  // seconds
    EXPECT_THAT(voice, testing::Contains(testing::Ne(std::byte{0})));

    std::set<std::string> ids;
    const auto events = log->events();
    for (const auto& event : events) {
        ids.emplace(event.at("event_id").as_string());
    }
    EXPECT_EQ(ids.size(), events.size());
}

TEST(OfflineEngine, TellsWhatItHearsTranslatesAndSpeaks) {
    const OfflineEngine engine(installed(), patient());
    const auto served = engine.languages();
    EXPECT_THAT(served.hears, ElementsAre("en"));
    ASSERT_THAT(served.translates, ElementsAre(testing::Key("en")));
    EXPECT_THAT(served.translates.at("en"),
                testing::IsSupersetOf({"es", "fr", "pt"}));  // by one to three steps
    ASSERT_TRUE(served.voices);
    EXPECT_THAT(served.voices->at("es"), ElementsAre("Spanish_(Spain)", "Spanish_(Latin_America)"));
    EXPECT_THAT(served.voices->at("en").front(), "English_(Great_Britain)");
    EXPECT_FALSE(served.voices->contains("de"));  // nothing translates into it

    auto parts = installed();
    parts.recognisers = std::make_shared<CommandRecogniserFactory>("cat");
    parts.translator = std::make_shared<CommandTranslator>("cat");
    const auto unknown = OfflineEngine(std::move(parts), patient()).languages();
    EXPECT_THAT(unknown.hears, IsEmpty());
    EXPECT_THAT(unknown.translates, IsEmpty());
    EXPECT_FALSE(unknown.voices);
}

TEST(OfflineEngine, EndsTheProgramsOfAChainTenMinutesAfterItsStreamHasGone) {
    const auto clock = std::make_shared<test::ManualClock>();
    auto parts = installed();
    parts.translator = std::make_shared<ChainTranslator>(
        std::make_unique<ApertiumTranslator>("/usr/share/apertium/modes", std::chrono::seconds(30), clock));
    OfflineEngine engine(std::move(parts), patient(), clock);
    const auto log = std::make_shared<EventLog>();
    auto stream = openStream(engine, {.target = "pt", .source = "en", .voice = {}, .silenceMs = {}}, log);
    say(*stream, spoken(kMeeting) + silence(1.5));
    ASSERT_TRUE(log->waitFor(events::responseDone, 1));
    const auto children = test::ownChildren();
    ASSERT_THAT(children, SizeIs(2));  // by way of Spanish
    clock->advance(std::chrono::minutes(10));
    say(*stream, spoken(kCoffee) + silence(1.5));
    ASSERT_TRUE(log->waitFor(events::responseDone, 2));
    EXPECT_THAT(test::ownChildren(), SizeIs(2));  // of a stream that is silent for long
    stream.reset();
    for (const auto& child : children) {
        const auto end = test::watch(child.id);
        pollfd ended{.fd = end.get(), .events = POLLIN, .revents = 0};
        do {
            clock->advance(std::chrono::minutes(10));
        } while (::poll(&ended, 1, 10) == 0);
    }
}

TEST(OfflineEngine, NamesWhatIsPossibleWhereAPairIsNot) {
    OfflineEngine engine(installed(), patient());
    const auto log = std::make_shared<EventLog>();
    const auto german = engine.open({.target = "de", .source = "en", .voice = {}, .silenceMs = {}}, log);
    ASSERT_FALSE(german);
    EXPECT_THAT(german.error().message,
                AllOf(HasSubstr("cannot translate en to \"de\"; from en: "), HasSubstr("es")));
    EXPECT_EQ(german.error().closeCode, 1003);

    const auto fromKlingon =
        engine.open({.target = "es", .source = "t\nlh", .voice = {}, .silenceMs = {}}, log);
    ASSERT_FALSE(fromKlingon);
    EXPECT_EQ(fromKlingon.error().message, "cannot recognise \"t?lh\"; possible: en");
    EXPECT_THAT(log->events(), IsEmpty());

    EXPECT_TRUE(engine.open({.target = "es-MX", .source = "EN", .voice = {}, .silenceMs = {}}, log));
}

/// A field of the session that a stream was told of.
const json::value& session(const EventLog& log, std::string_view pointer) {
    static json::value created;
    created = log.events().at(0);
    return created.at_pointer("/session/" + std::string(pointer));
}

TEST(OfflineEngine, KeepsTheSilenceWithinWhatTheRecogniserCanDoAndTellsIt) {
    struct Case {
        int asked;
        int builtIn;
        int command;
    };
    auto parts = installed();
    OfflineEngine builtIn(parts, patient());
    parts.recognisers = std::make_shared<CommandRecogniserFactory>("cat > /dev/null");
    OfflineEngine command(parts, patient());
    for (const auto& [asked, ofBuiltIn, ofCommand] :
         {Case{-5, 200, 0}, Case{0, 200, 0}, Case{900, 900, 900}, Case{999999, 10000, 10000}}) {
        for (auto* engine : {&builtIn, &command}) {
            const auto log = std::make_shared<EventLog>();
            const auto stream =
                openStream(*engine, {.target = "en", .source = "en", .voice = {}, .silenceMs = asked}, log);
            EXPECT_EQ(session(*log, "turn_detection/silence_duration_ms"),
                      engine == &builtIn ? ofBuiltIn : ofCommand)
                << asked;
        }
    }
}

TEST(OfflineEngine, KnowsALanguageByTheTranslatorsNameForItWhereTheRecogniserTriesAny) {
    auto parts = installed();
    parts.recognisers = std::make_shared<CommandRecogniserFactory>("cat > /dev/null");
    OfflineEngine engine(parts, patient());
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases{
        {"en-US", "en"}, {"EN", "en"}, {"eo_XX", "eo"}, {std::nullopt, "en"}, {"tlh", "tlh"}};
    for (const auto& [asked, source] : cases) {
        const auto log = std::make_shared<EventLog>();
        const auto target = source == "en" ? "es" : source == "eo" ? "en" : source;
        const auto stream =
            openStream(engine, {.target = target, .source = asked, .voice = {}, .silenceMs = {}}, log);
        EXPECT_EQ(session(*log, "input_audio_transcription/language"), json::value(source));
    }
}

TEST(OfflineEngine, ComplainsOnceAboutNonsenseAndGoesOn) {
    OfflineEngine engine(installed(), patient());
    const auto log = std::make_shared<EventLog>();
    const auto stream = openStream(engine, {.target = "es", .source = {}, .voice = {}, .silenceMs = {}}, log);
    for (const auto* nonsense : {"", "nonsense", "[1]", R"({"type":"unheard.of"})",
                                 R"({"type":"input_audio_buffer.append","audio":"%%%"})"}) {
        stream->receive(nonsense);
    }
    say(*stream, spoken(kMeeting) + silence(1.5));
    ASSERT_TRUE(log->waitFor(events::responseDone, 1));
    EXPECT_THAT(log->all(events::tarnError, "error"), ElementsAre("a message was ignored: it is not JSON"));
    EXPECT_THAT(log->all(events::sourceCompleted, "transcript"), ElementsAre(kMeeting));
}

}  // namespace
}  // namespace tarn::relay
