// A stream that goes from connection to connection, against a service that knows what it was told.
#include "TarnApp/server/ResumingTranslateStream.h"

#include <gmock/gmock.h>

#include "ResumingFixture.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::difference;
using test::ScriptedService;
using test::SpokenChunk;
using Resuming = test::Resuming;
using State = ConnectionHealth::State;

struct CutCase {
    const char* name;
    ScriptedService::Habits habits;
    int cuts = 100;
    int pauseAtLeast = 500;  // milliseconds
    bool isWhole = true;     ///< sentences come with their first words
};

class ResumingThroughCuts : public Resuming, public ::testing::WithParamInterface<CutCase> {};

/// Twenty minutes of sentences, cut at moments by chance: the connection breaks or hangs, and the network is
/// away for up to 15 s.
TEST_P(ResumingThroughCuts, LosesDoublesAndReordersNothing) {
    const auto& param = GetParam();
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        told = {};
        said.clear();
        spoken.clear();
        begin(param.habits, seed);
        std::minstd_rand random(seed * 977);
        const auto below = [&random](int most) {
            return static_cast<int>(random() % static_cast<unsigned>(most));
        };
        const int chunks = 20 * 60 * 20;
        int done = 0;
        int untilCut = below(2 * chunks / param.cuts);
        int untilBack = -1;
        const auto step = [&](SpokenChunk chunk) {
            hear(chunk);
            ++done;
            if (untilBack >= 0 && untilBack-- == 0) {
                service->isReachable = true;
            }
            if (untilCut-- == 0) {
                untilCut = below(2 * chunks / param.cuts);
                if (below(4) == 0) {
                    service->hang();
                } else {
                    service->cut();
                }
                if (untilBack < 0) {
                    service->isReachable = below(3) == 0;
                    untilBack = below(300);
                }
            }
        };
        std::int16_t sentence = 0;
        while (done < chunks) {
            ++sentence;
            const int length = 10 + below(50);
            for (std::int16_t index = 0; index < length; ++index) {
                step({sentence, index});
            }
            said.push_back(std::to_string(sentence) + ":0-" + std::to_string(length - 1));
            for (int silent = param.pauseAtLeast / 50 + below(20); silent > 0; --silent) {
                step({});
            }
        }
        service->isReachable = true;
        pause(seconds(60));
        if (!param.isWhole) {
            for (auto* const texts : {&told.sources, &told.translations, &said}) {
                std::ranges::for_each(*texts, [](std::string& text) { text.resize(text.find(':')); });
            }
        }
        EXPECT_EQ(difference(told.translations, said), "");
        EXPECT_EQ(difference(told.sources, said), "");
        EXPECT_EQ(told.gaps, 0);
        EXPECT_TRUE(std::ranges::includes(service->heard, spoken) || !param.isWhole);
        EXPECT_TRUE(std::ranges::adjacent_find(told.voice, std::greater_equal<>()) == told.voice.end());
        EXPECT_EQ(told.health.back().second, ConnectionHealth());
        EXPECT_TRUE(stream->isAlive());
        TearDown();
    }
}

INSTANTIATE_TEST_SUITE_P(All, ResumingThroughCuts,
                         ::testing::Values(CutCase{"asTheRelay", {}},
                                           CutCase{"voiceFirst", {.voiceFirst = true}},
                                           CutCase{"noise", {.noiseEvery = 3}},
                                           CutCase{"withoutNames", {.items = false}},
                                           CutCase{"withoutPlaces", {.marks = false}, 30, 3000, false}),
                         [](const auto& each) { return each.param.name; });

/// What is seen of outages of many lengths while somebody speaks, and what is missing of it.
TEST_F(Resuming, TellsWhatOnlyALongOutageLeavesUntranslated) {
    for (const int outage : {1, 10, 60, 110, 300}) {
        SCOPED_TRACE(outage);
        told = {};
        said.clear();
        begin();
        std::int16_t sentence = 0;
        const auto speakFor = [&](double length) {
            for (const double end = now() + length; now() < end;) {
                say(++sentence, 30);
                pause(milliseconds(500));
            }
        };
        speakFor(10);
        const double start = now();
        service->isReachable = false;
        service->cut();
        settle();
        ASSERT_EQ(told.health.back().second.state, State::resuming);
        EXPECT_LT(told.health.back().first - start, 2);
        speakFor(outage);
        service->isReachable = true;
        networkIsBack();
        speakFor(60);
        const double kept = std::chrono::duration<double>(seconds(120)).count();
        EXPECT_NEAR(told.gaps, std::max(0.0, outage - kept), outage > 120 ? 10 : 0.01);
        EXPECT_THAT(states(), testing::ElementsAre(State::resuming, State::catchingUp, State::answering));
        // Four times the pace of speech, which goes on meanwhile.
        const double live = told.health.back().first - start - outage;
        EXPECT_LT(live, std::min<double>(outage + 5, kept) / 3 + 3);
        pause(seconds(40));
        if (told.gaps == 0) {
            EXPECT_EQ(difference(told.translations, said), "");
        }
        TearDown();
    }
}

TEST_F(Resuming, TriesNoMoreOftenAfterAnHourThanAtFirst) {
    const std::map<std::string, std::function<void()>> servers = {
        {"refuses", [this] { service->isReachable = false; }},
        {"closes at once", [this] { service->onAttempt = [this] { service->cut(); }; }},
        {"says nothing", [this] { service->onAttempt = [this] { service->hang(); }; }}};
    for (const auto& [name, behave] : servers) {
        SCOPED_TRACE(name);
        begin();
        behave();
        service->cut();
        std::vector<int> attempts;
        for (int minute = 0; minute < 60; ++minute) {
            const int before = service->attempts;
            pause(seconds(60));
            networkIsBack();  // a network that comes and goes must not make a storm of it
            attempts.push_back(service->attempts - before);
        }
        EXPECT_THAT(attempts, testing::Each(testing::AllOf(testing::Ge(5), testing::Le(17))));
        RecordProperty(name, attempts.back());
        TearDown();
    }
}

TEST_F(Resuming, EndsWhereNothingMoreIsToBeHopedFor) {
    struct End {
        const char* name;
        std::function<void()> happen;
        double after;  ///< seconds, at most
        const char* reason;
        bool isRefused;
        std::vector<std::string> others;
    };
    const ConnectionHealth refused{State::lost, "[limit] no more today", true};
    const std::vector<End> ends = {
        {"refused token",
         [&] {
             service->tell(translate::Unauthorized{});
             service->cut({State::lost, "closed: 4001"});
         },
         0.1,
         "closed: 4001",
         false,
         {"unauthorized"}},
        {"signed out",
         [&] { service->isSignedOut = true, service->cut(); },
         1,
         "cut",
         false,
         {"unauthorized"}},
        {"error of the service",
         [&] {
             service->onAttempt = [&] { service->cut(refused); };
             service->cut(refused);
         },
         10,
         "[limit] no more today",
         true,
         {}},
        {"patience", [&] { service->isReachable = false, service->cut(); }, 31, "cut", false, {}}};
    for (const End& end : ends) {
        SCOPED_TRACE(end.name);
        told = {};
        parts.giveUpAfter = seconds(30);
        begin();
        say(1, 20);
        end.happen();
        settle();
        const double start = now();
        while (stream->isAlive() && now() < start + 100) {
            pause(milliseconds(50));
        }
        EXPECT_LE(now(), start + end.after);
        const auto& last = told.health.back().second;
        EXPECT_EQ(last.state, State::lost);
        EXPECT_EQ(last.reason, end.reason);
        EXPECT_EQ(last.refusedByService, end.isRefused);
        EXPECT_EQ(told.others, end.others);
        const int attempts = service->attempts;
        EXPECT_EQ(attempts, end.isRefused ? 3 : attempts);
        pause(seconds(20));
        EXPECT_EQ(service->attempts, attempts);
        TearDown();
        EXPECT_EQ(told.others.back(), "closed");
    }
}

/// None of it may stop the stream, and what is said after it is told once.
TEST_F(Resuming, BearsAServiceThatTalksNonsense) {
    for (const auto& habits : {ScriptedService::Habits{.places = ScriptedService::Places::negative},
                               {.places = ScriptedService::Places::huge},
                               {.places = ScriptedService::Places::falling},
                               {.inOrder = false}}) {
        told = {};
        said.clear();
        begin(habits);
        service->onConnect = {"1:0-29"};
        for (std::int16_t sentence = 1; sentence <= 10; ++sentence) {
            say(sentence, 30);
            pause(milliseconds(2000));
            if (sentence == 1 || sentence == 5) {
                service->cut();
            }
        }
        pause(seconds(5));
        EXPECT_EQ(difference(told.translations, said), "");
        EXPECT_EQ(difference(told.sources, said), "");
        TearDown();
    }
}

TEST_F(Resuming, IsStoodInForUntilTheServiceIsBack) {
    parts.openStandIn = [this]() -> Task<ServerResult<ResumeParts::Stream>> { co_return service->connect(); };
    begin();
    const auto standsIn = [this] { return told.health.back().second.standIn; };
    std::int16_t sentence = 0;
    const auto speakFor = [&](int sentences) {
        for (const int last = sentence + sentences; sentence < last;) {
            say(++sentence, 30);
            pause(milliseconds(1500));
        }
    };
    speakFor(2);
    service->isReachable = false;
    service->cut();
    const double away = now();
    while (told.health.empty() || !standsIn()) {
        speakFor(1);
        ASSERT_LT(now() - away, 30);
    }
    EXPECT_GE(now() - away, 20);
    speakFor(5);
    EXPECT_TRUE(standsIn());
    say(++sentence, 10);
    service->isReachable = true;
    for (std::int16_t index = 10; index < 300; ++index) {  // one sentence of 15 s
        hear({sentence, index});
    }
    said.back() = std::to_string(sentence) + ":0-299";
    EXPECT_TRUE(standsIn()) << "it is left at the end of an utterance";
    pause(seconds(8));
    EXPECT_FALSE(standsIn());
    speakFor(3);
    EXPECT_EQ(difference(told.translations, said), "");
    EXPECT_EQ(difference(told.sources, said), "");
}

TEST_F(Resuming, ClosesWhereThereIsNoConnection) {
    begin();
    service->isReachable = false;
    service->cut();
    pause(seconds(2));
    close();
    close();
    EXPECT_EQ(told.others, std::vector<std::string>{"closed"});
    EXPECT_FALSE(stream->isAlive());
}

TEST_F(Resuming, KeepsSendersWaitingAsLongAsTheirSound) {
    begin();
    service->isReachable = false;
    service->cut();
    settle();
    constexpr std::int16_t given = 130 * 20;
    int left = 0;
    for (std::int16_t index = 0; index < given; ++index) {
        asio::co_spawn(context, stream->sendAudio(SpokenChunk{1, index}.sound()),
                       [&left](const std::exception_ptr&) { ++left; });
        service->clock->advance(milliseconds(50));
        settle();
    }
    EXPECT_EQ(left, 10 * 20) << "their sound is not kept any more";
    service->isReachable = true;
    pause(seconds(60));
    EXPECT_EQ(left, given);
    EXPECT_TRUE(service->heard.contains({1, given - 1}));
}

}  // namespace
}  // namespace tarn
