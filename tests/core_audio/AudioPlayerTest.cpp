// The dub on a private audio server, as the monitor of its output hears it.
#include "TarnCore/audio/AudioPlayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

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

TEST_F(DubTest, GainCountsBeforeTheStartAndLiveAndStopDropsWhatIsQueued) {
    player.setGain(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(player.gain(), 16);
    player.setGain(-1);
    ASSERT_TRUE(player.start(1));
    player.enqueue(serviceTone(500, -6, 60));
    EXPECT_LT(level(500), -150);
    player.setGain(1);
    until("it is heard", [&] { return std::abs(level(500) - -6.02) < 0.05; });
    player.setGain(0.5F);
    until("it is quieter", [&] { return std::abs(level(500) - -12.04) < 0.05; });
    player.stop();
    EXPECT_EQ(rms(hear(0.4)), 0);
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

TEST_F(DubTest, AFailedStartIsTheEnginesErrorAndPlaysNothing) {
    server.killPipeWire();
    player.setRate(2);
    EXPECT_EQ(player.start(0.1F).error().description, "the audio server (PipeWire) is not running");
    EXPECT_EQ(player.rate(), 0.5F);
}

}  // namespace
}  // namespace tarn::test
