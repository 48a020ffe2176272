// The dub that keeps up: its pace by itself, and the chain rendered without an audio server.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <map>

#include "FakeEngine.h"
#include "TarnCore/audio/DubChain.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "platform_rendering/Playback.h"

namespace tarn::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(DubPace, FollowsWhatWaitsOverARamp) {
    struct Step {
        double waiting, seconds, factor;
    };
    struct Case {
        const char* what;
        std::vector<Step> steps;
    };
    const std::vector<Case> cases{
        {"nothing up to the mark", {{0, 9, 1}, {1.99, 9, 1}, {2, 99, 1}}},
        {"above it as far as need be", {{2.5, 9, 1.15}, {3, 9, 1.2}, {4, 9, 1.3}, {900, 9, 1.3}}},
        {"on the way back longer", {{4, 9, 1.3}, {2, 9, 1.1}, {1.5, 9, 1.05}, {1, 9, 1}, {1.9, 9, 1}}},
        {"a ramp both ways", {{60, 1, 1.1}, {60, 1, 1.2}, {60, 1, 1.3}, {0, 1, 1.2}, {60, 0.5, 1.25}}},
        {"a lag that jumps", {{60, 0.02, 1.002}, {0, 0.02, 1}, {60, 0.02, 1.002}, {0.5, 0.02, 1}}},
        {"what is no number", {{nan, 9, 1}, {4, 9, 1.3}, {nan, 9, 1.3}, {4, nan, 1.3}, {0, -1, 1.3}}},
        {"what cannot be", {{infinity, infinity, 1.3}, {-5, 1, 1.2}, {-infinity, 9, 1}}},
    };
    for (const Case& c : cases) {
        DubPace pace;
        for (const auto& [waiting, seconds, factor] : c.steps) {
            EXPECT_NEAR(pace.stepRt(waiting, seconds), factor, 1e-9) << c.what << ": " << waiting;
        }
        pace.restRt();
        EXPECT_EQ(pace.factor(), 1) << c.what;
    }
}

/// A dub that is rendered as fast as it is asked. Speech is a level that tells whose it is.
struct Dub {
    FakeEngine engine{std::make_shared<FakeEngine::Script>()};
    DubChain chain;

    explicit Dub(bool keepsUp, float rate = 1) {
        chain.connect(engine, rate);
        chain.setKeepsUp(keepsUp);
        chain.play();
    }
    void say(std::int16_t level, double seconds) {
        for (int piece = 0; piece < std::lround(seconds * 10); ++piece) {
            chain.enqueue(toServiceBytes(std::vector<std::int16_t>(2400, level)));
        }
    }
    std::vector<float> hear(double seconds) {
        return render(engine.mainMixerNode(), static_cast<std::size_t>(std::lround(seconds * 24000)));
    }
    /// Seconds that each level is heard, until nothing comes.
    std::map<int, double> hearAll() {
        std::map<int, double> heard;
        while (chain.queuedSeconds() > 0) {
            for (const float sample : hear(1)) {
                heard[static_cast<int>(sample * 32768)] += 1.0 / 24000;
            }
        }
        heard.erase(0);
        return heard;
    }
};

TEST(DubKeepsUp, IsExactWhereLittleWaitsOrItIsOff) {
    struct Case {
        bool keepsUp;
        float rate;
        double waits;
    };
    for (const auto& [keepsUp, rate, waits] : {Case{true, 1, 1.9}, {true, 1.25F, 1.9}, {false, 1, 30}}) {
        Dub dub(keepsUp, rate);
        Dub plain(false, rate);
        std::int16_t level = 0;
        for (auto* const each : {&dub, &plain}) {
            each->say(7, waits);
        }
        for (int turn = 0; turn < 100; ++turn) {
            ++level;
            dub.say(level, 0.1);
            plain.say(level, 0.1);
            dub.chain.endUtterance();
            ASSERT_EQ(dub.hear(0.1), plain.hear(0.1)) << waits << " s wait, turn " << turn;
        }
        EXPECT_EQ(dub.chain.rate(), rate);
        EXPECT_EQ(dub.chain.takeSkippedSeconds(), 0);
    }
}

TEST(DubKeepsUp, DoesNotTakeTheLengthOfASentenceForLag) {
    Dub dub(true);
    for (std::int16_t sentence = 1; sentence <= 3; ++sentence) {
        dub.say(sentence, 4.5);
        dub.chain.endUtterance();
        dub.hear(4);
        EXPECT_NEAR(dub.chain.queuedSeconds(), 0.5, 0.1) << sentence;
        dub.hear(1);
    }
    dub.say(4, 4.5);
    dub.chain.endUtterance();
    dub.say(5, 4.5);
    dub.hear(3);
    EXPECT_LT(dub.chain.queuedSeconds(), 5.7) << "another one waits behind it";
}

TEST(DubKeepsUp, SkipsTheOldestUtterancesWholeButNotTheOneThatIsSpoken) {
    Dub dub(true);
    for (int utterance = 1; utterance <= 6; ++utterance) {
        dub.say(static_cast<std::int16_t>(1000 * utterance), 3);
        dub.chain.endUtterance();
        dub.chain.endUtterance();
        if (utterance == 1) {
            dub.hear(0.1);
        }
    }
    EXPECT_DOUBLE_EQ(dub.chain.takeSkippedSeconds(), 9);
    EXPECT_EQ(dub.chain.takeSkippedSeconds(), 0);
    const auto heard = dub.hearAll();
    for (const int level : {1000, 5000, 6000}) {
        EXPECT_GT(heard.contains(level) ? heard.at(level) : 0, 2) << level;
    }
    for (const int level : {2000, 3000, 4000}) {
        // Where one fades into another, each level between them comes once.
        EXPECT_LT(heard.contains(level) ? heard.at(level) : 0, 0.01) << level;
    }
}

TEST(DubKeepsUp, OnlySpeedsUpWhereNobodyTellsUtterances) {
    for (const auto& [rate, fastest] : {std::pair{1.0F, 1.3}, {1.8F, 2.0}, {2.0F, 2.0}}) {
        Dub dub(true, rate);
        for (std::int16_t second = 1; second <= 30; ++second) {
            dub.say(static_cast<std::int16_t>(100 * second), 1);
        }
        EXPECT_EQ(dub.chain.takeSkippedSeconds(), 0);
        EXPECT_DOUBLE_EQ(dub.chain.holdingSeconds(), 30);
        dub.hear(5);
        const double before = dub.chain.queuedSeconds();
        dub.hear(1);
        EXPECT_NEAR(before - dub.chain.queuedSeconds(), fastest, 0.05);
        EXPECT_EQ(dub.chain.rate(), rate);
        dub.chain.setKeepsUp(false);
        const double off = dub.chain.queuedSeconds();
        dub.hear(1);
        EXPECT_NEAR(off - dub.chain.queuedSeconds(), rate, 0.05) << "at once";
        EXPECT_TRUE(dub.hearAll().contains(3000)) << "to the end";
    }
}

TEST(DubKeepsUp, TakesUtterancesWithoutSoundAndThousandsOfThem) {
    Dub dub(false);
    dub.say(1, 0.1);
    dub.hear(0.05);
    for (int utterance = 0; utterance < 20000; ++utterance) {
        dub.chain.enqueue(toServiceBytes(std::vector<std::int16_t>(24, 2)));
        dub.chain.endUtterance();
        dub.chain.endUtterance();
    }
    EXPECT_NEAR(dub.chain.queuedSeconds(), 20.05, 1e-6) << "off, all waits";
    EXPECT_EQ(dub.chain.holdingSeconds(), dub.chain.queuedSeconds());
    dub.chain.setKeepsUp(true);
    EXPECT_NEAR(dub.chain.queuedSeconds(), 10, 0.001) << "at once";
    EXPECT_NEAR(dub.chain.takeSkippedSeconds(), 10.05, 0.001);
    EXPECT_EQ(dub.chain.holdingSeconds(), 0);
    dub.say(3, 20);
    EXPECT_NEAR(dub.chain.queuedSeconds(), 20.05, 0.001) << "the newest is spoken, however long";
    EXPECT_DOUBLE_EQ(dub.chain.holdingSeconds(), 20);
}

}  // namespace
}  // namespace tarn::test
