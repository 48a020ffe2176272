// The dub on a private audio server, as the monitor of its output hears it.
#include "TarnCore/audio/AudioPlayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "FakeEngine.h"
#include "ServiceSound.h"
#include "support/LogCapture.h"
#include "support/audio/Measure.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn::test {
namespace {

struct DubTest : testing::Test {
    PrivateAudioServer server;
    AudioPlayer player;

    ~DubTest() override { player.stop(); }

    std::vector<float> hear(double seconds) {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        recorder.waitFor(seconds);
        return recorder.stop().channel(0);
    }

    double level(double frequency) {
        const auto samples = hear(0.4);
        return toneLevel(std::span(samples).last(std::min<std::size_t>(samples.size(), 9600)), frequency,
                         48000);
    }
};

TEST_F(DubTest, GainCountsBeforeTheStartAndLive) {
    player.setGain(0);
    ASSERT_TRUE(player.start(1));
    player.enqueue(serviceTone(500, -6, 60));
    EXPECT_LT(level(500), -150);
    player.setGain(1);
    until("it is heard", [&] { return std::abs(level(500) - -6.02) < 0.05; });
    player.setGain(0.5F);
    until("it is quieter", [&] { return std::abs(level(500) - -12.04) < 0.05; });
}

TEST_F(DubTest, TwentyFourDecibelsOfGainStayWithinFullScale) {
    player.setGain(16);
    ASSERT_TRUE(player.start(1));
    player.enqueue(serviceTone(500, -6, 10));
    std::vector<float> samples;
    until("it is heard", [&] { return rms(samples = hear(0.3)) > 0.5; });
    // The mixer ends at full scale; between its samples, where the server puts new ones, a little more is
    // seen.
    for (const float sample : samples) {
        ASSERT_LE(std::abs(sample), 1.12F);
    }
}

TEST_F(DubTest, ASpeedChangesTheLengthOfWhatIsQueuedAndNotThePitch) {
    ASSERT_TRUE(player.start(1));
    until("two seconds are played in one, at their pitch", [&] {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        player.setRate(1);
        player.enqueue(serviceTone(500, -6, 1));
        player.enqueue(serviceTone(500, -6, 1));
        player.setRate(2);
        recorder.waitFor(2.5);
        const Sound sound = recorder.stop();
        const auto samples = sound.channel(0);
        const auto played = withoutSilence(samples, sound.rate, 0);
        return std::abs(static_cast<double>(played.size()) / sound.rate - 1) < 0.03 &&
               std::abs(toneLevel(played.subspan(played.size() / 3, 12000), 500, sound.rate) + 6) < 0.5;
    });
}

TEST_F(DubTest, StopDropsWhatIsQueued) {
    ASSERT_TRUE(player.start(1));
    player.enqueue(serviceTone(500, -6, 60));
    until("it is heard", [&] { return level(500) > -6.1; });
    player.stop();
    EXPECT_EQ(rms(hear(0.4)), 0);
}

TEST_F(DubTest, DropsTheOldestOnlyWhileTheOutputPlaysNothing) {
    LogCapture log;
    ASSERT_TRUE(player.start(1));
    player.enqueue(serviceTone(500, -6, 30));
    until("it is played", [&] { return player.queuedSeconds() < 29.5; });
    EXPECT_GT(player.queuedSeconds(), 15);
    server.pausePipeWire();
    until("it is dropped", [&] {
        player.enqueue(serviceTone(500, -6, 0.1));
        return player.queuedSeconds() < 11;
    });
    EXPECT_EQ(log.lines("[dub]").size(), 1U);
    server.resumePipeWire();
    until("the rest is played", [&] { return player.queuedSeconds() < 9; });
    for (int i = 0; i < 20; ++i) {
        player.enqueue(serviceTone(500, -6, 1));
    }
    EXPECT_GT(player.queuedSeconds(), 20);
    EXPECT_EQ(log.lines("[dub]").size(), 1U);
}

TEST_F(DubTest, ChunksPlayBackToBackInOrderAndScrapsAreNothing) {
    ASSERT_TRUE(player.start(1));
    // A busy machine may miss a cycle; it does not always.
    until("a second of it is played without a fault", [&] {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        player.enqueue({});
        player.enqueue(std::vector<std::byte>(1));
        for (int chunk = 0; chunk < 10; ++chunk) {
            player.enqueue(serviceTone(chunk < 5 ? 500 : 1000, -6, 0.1));
            player.enqueue(std::vector<std::byte>(1));
        }
        recorder.waitFor(2);
        const Sound sound = recorder.stop();
        const auto samples = sound.channel(0);
        const auto played = withoutSilence(samples, sound.rate);
        return std::abs(static_cast<double>(played.size()) / sound.rate - 0.9) < 0.005 &&
               largestJump(played.first(18000), 500, sound.rate) < 0.05 &&
               largestJump(played.last(18000), 1000, sound.rate) < 0.05;
    });
}

TEST(AudioPlayerTest, AFailedStartIsTheEnginesErrorAndPlaysNothing) {
    const auto script = std::make_shared<FakeEngine::Script>();
    script->started = failure(ErrorKind::unavailable, "no output");
    AudioPlayer player(std::make_unique<FakeEngine>(script));
    player.setRate(2);
    EXPECT_EQ(player.start(0.1F).error().description, "no output");
    EXPECT_EQ(player.rate(), 0.5F);
    EXPECT_EQ(script->calls, (std::vector<std::string>{"attach", "attach", "attach", "connect", "connect",
                                                       "connect", "start"}));
}

}  // namespace
}  // namespace tarn::test
