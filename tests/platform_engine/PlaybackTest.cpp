// Plays through an engine and listens to the monitor of the output.
#include <array>
#include <cmath>

#include "EngineFixture.h"
#include "TarnPlatform/engine/PlaybackStream.h"
#include "support/AllocationGuard.h"

namespace tarn::test {
namespace {

struct Playback : testing::Test, Session, EngineBench {
    /// Levels of the tone in the first `channels` channels that the output plays now.
    std::vector<double> levelsOn(const std::string& output, double frequency, std::size_t channels) {
        Recorder recorder(server, output, Recorder::From::monitor, static_cast<unsigned>(channels));
        recorder.waitFor(0.3);
        const Sound sound = recorder.stop();
        std::vector<double> levels;
        for (unsigned channel = 0; channel < channels; ++channel) {
            const auto samples = sound.channel(channel);
            levels.push_back(toneLevel(std::span(samples).last(4800), frequency, sound.rate));
        }
        return levels;
    }

    /// Level of the tone in what the output plays during the next half second; both channels are alike.
    double levelOn(const std::string& output, double frequency) {
        Recorder recorder(server, output, Recorder::From::monitor);
        recorder.waitFor(0.5);
        const Sound sound = recorder.stop();
        // The recorder's two channels are linked one after the other.
        const auto left = sound.channel(0);
        const auto right = sound.channel(1);
        const auto steady = [&](const auto& channel) {
            return std::span(channel).subspan(channel.size() / 5);
        };
        EXPECT_NEAR(rms(steady(left)), rms(steady(right)), 1e-4);
        return toneLevel(steady(left), frequency, sound.rate);
    }
};

TEST_F(Playback, FullScaleOfOneChannelIsFullScaleInBothOfTheOutputWithoutAGap) {
    startPlaying();
    // A busy machine may miss a cycle; it does not always.
    until("a second of it is played without a fault", [&] {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        for (int chunk = 0; chunk < 10; ++chunk) {
            scheduleTone(500, 0, 0.1);  // whole periods: chunk boundaries are inaudible
        }
        until("all is played", [&] { return player->queuedFrames() == 0; });
        recorder.waitFor(1.5);
        const Sound sound = recorder.stop();
        return std::ranges::all_of(std::array{0U, 1U}, [&](unsigned channel) {
            const auto samples = sound.channel(channel);
            const auto played = withoutSilence(samples, sound.rate);
            return std::abs(static_cast<double>(played.size()) / sound.rate - 0.9) < 0.005 &&
                   std::abs(toneLevel(played, 500, sound.rate)) < 0.05 &&
                   largestJump(played, 500, sound.rate) < 0.05;
        });
    });
}

TEST_F(Playback, HasItsPlaceBetweenLeftAndRightOnEveryOutput) {
    server.addSink("one", "MONO");
    server.addSink("four", "FL,FR,RL,RR");
    connectPlayer();
    scheduleTone(500, -6, 120);
    ASSERT_TRUE(engine->start());
    const auto expect = [this](const char* output, const std::vector<double>& levels) {
        server.setDefaultSink(output);
        std::vector<double> now;
        try {
            until("it is there", [&] {
                now = levelsOn(output, 500, levels.size());
                return std::ranges::equal(levels, now, [](double a, double b) {
                    return b < -100 ? a < -100 : std::abs(a - b) < 0.1;
                });
            });
        } catch (const std::exception&) {
            ADD_FAILURE() << output << ": " << testing::PrintToString(now);
        }
    };
    engine->setPlace(-0.7F);  // in the pause before the first word
    until("the stream has two channels",
          [&] { return server.answer({"pactl", "list", "sink-inputs"}).value_or("").contains("2ch"); });
    player->play();
    constexpr double near = -3.23;
    constexpr double far = -15.63;
    expect(PrivateAudioServer::output, {near, far});
    expect("one", {-7.38});
    expect("four", {near, far, -200, -200});
    engine->setPlace(0.7F);
    expect("four", {far, near, -200, -200});
    engine->setPlace(0);
    expect("one", {-6});
    expect(PrivateAudioServer::output, {-6, -6});
    engine->stop();
    ASSERT_TRUE(engine->start());
    expect("four", {-6, -6, -6, -6});
}

TEST_F(Playback, FollowsTheDefaultOutputAndOutlivesIt) {
    startPlaying();
    scheduleTone(500, -6, 30);
    EXPECT_NEAR(levelOn(PrivateAudioServer::output, 500), -6, 0.1);
    server.addSink("second", "FL,FR");
    server.setDefaultSink("second");
    until("the new default is heard", [&] { return levelOn("second", 500) > -6.1; });
    EXPECT_LT(levelOn(PrivateAudioServer::output, 500), -100);
    server.removeSink("second");
    until("the old default is heard", [&] { return levelOn(PrivateAudioServer::output, 500) > -6.1; });
    EXPECT_TRUE(engine->isRunning());
}

TEST_F(Playback, PlaysTheRestOfTheQueueWhenTheServerIsBack) {
    startPlaying();
    scheduleTone(500, -6, 4);
    until("some is played", [&] { return static_cast<double>(player->queuedFrames()) < 3.5 * dubRate; });
    server.killPipeWire();
    until("the stream stands still", [&, before = player->queuedFrames()]() mutable {
        return std::exchange(before, player->queuedFrames()) == before && !log.lines("[audio]").empty();
    });
    const auto left = static_cast<double>(player->queuedFrames());
    EXPECT_GT(left, 2 * dubRate);
    server.startPipeWire();
    until("the rest is heard", [&] { return levelOn(PrivateAudioServer::output, 500) > -6.1; });
    until("all is played", [&] { return player->queuedFrames() == 0; });
    EXPECT_EQ(player->counters().framesPlayed, 4 * dubRate);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(Playback, AStreamThatIsTakenFromUsIsMadeAgain) {
    startPlaying();
    scheduleTone(500, -6, 60);
    for (const std::size_t times : {1U, 2U}) {
        until("it is heard", [&] { return levelOn(PrivateAudioServer::output, 500) > -6.1; });
        ASSERT_TRUE(server.answer({"pw-cli", "destroy", "tarn.dub"}));
        until("the loss is told", [&] { return log.lines("[dub]").size() == times; });
    }
    until("it is heard again", [&] { return levelOn(PrivateAudioServer::output, 500) > -6.1; });
    EXPECT_EQ(log.lines().back(), "[dub] the audio server let go of the stream; trying again");
}

TEST_F(Playback, IsHeardWithoutTheSessionManagerAndWithOneThatCameLater) {
    startPlaying();
    scheduleTone(500, -6, 120);
    const auto playsOn = [&] {
        const auto left = player->queuedFrames();
        until("half a second is played", [&] {
            return static_cast<double>(player->queuedFrames()) < static_cast<double>(left) - dubRate / 2;
        });
    };
    playsOn();
    server.stopWirePlumber();
    until("the loss is told", [&] { return log.lines("[audio] the session manager").size() == 1; });
    playsOn();
    const auto later = server.runWirePlumber();
    playsOn();
    playsOn();
    const auto links = server.answer({"pw-link", "-l"}).value_or("");
    EXPECT_TRUE(links.contains("tarn.dub:output_FL\n  |-> tarn-test-out:playback_FL")) << links;
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(Playback, StopLeavesNothingInTheGraphAndMayComeAtAnyTime) {
    engine->stop();
    startPlaying();
    scheduleTone(500, -6, 5);
    EXPECT_TRUE(server.hasNode("tarn.dub"));
    engine->stop();
    engine->stop();
    EXPECT_FALSE(engine->isRunning());
    until("the node is gone", [&] { return !server.hasNode("tarn.dub"); });
    EXPECT_TRUE(engine->start());
    EXPECT_NEAR(levelOn(PrivateAudioServer::output, 500), -6, 0.1);
}

TEST_F(Playback, NodesOfDifferentFormatsDoNotStart) {
    connectPlayer();
    AudioFormat other = dubFormat();
    other.sampleRate = 48000;
    engine->connect(*player, engine->mainMixerNode(), other);
    EXPECT_EQ(engine->start().error().kind, ErrorKind::invalidInput);
}

// Faults of the server at the start.
struct Broken {
    const char* name;
    AudioServerOptions options;
    void (*breakIt)(PrivateAudioServer&);
    const char* description;
};

struct PlaybackFault : testing::TestWithParam<Broken>, Session, EngineBench {
    PlaybackFault() : Session(GetParam().options) {}
};

TEST_P(PlaybackFault, EndsTheStartWithAClearError) {
    GetParam().breakIt(server);
    connectPlayer();
    const auto started = engine->start();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().description, GetParam().description);
    EXPECT_FALSE(engine->isRunning());
}

INSTANTIATE_TEST_SUITE_P(
    All, PlaybackFault,
    testing::Values(
        Broken{"noServer",
               {},
               [](PrivateAudioServer& server) { server.killPipeWire(); },
               "the audio server (PipeWire) is not running"},
        Broken{"hungServer",
               {},
               [](PrivateAudioServer& server) { server.pausePipeWire(); },
               "the audio server (PipeWire) does not answer"},
        Broken{
            "noSessionManager",
            {.sessionManager = false, .pulse = false},
            [](PrivateAudioServer&) {},
            "the audio session manager (WirePlumber) gives the sound no output: restart it with PipeWire"}),
    [](const auto& test) { return test.param.name; });

TEST(PlaybackStreamTest, AsksTheHeapForNothingAndServesAnyLength) {
    AudioServer server;
    AudioPlayerNode player;
    player.prepare(PlaybackStream::mostFrames);
    const auto voice = std::make_shared<DuckingVoice>();
    StereoPlace place;
    const auto reference = std::make_shared<EchoReference>(24000);
    PlaybackStream stream(server, player, place, 24000, reference, voice);
    auto buffer = PcmBuffer::make(EngineBench::dubFormat(), 24000);
    buffer->setFrameLength(24000);
    std::fill_n(buffer->floatChannelData(), 24000, 0.5F);
    player.scheduleBuffer(std::move(*buffer));
    player.play();
    std::vector<float> out(30000);
    EXPECT_EQ(voice->heardAt(), 0);
    const std::int64_t time = 1LL << 62;  // long after the monitor was heard
    {
        const AllocationGuard guard;
        stream.renderRt(out, time);
        EXPECT_EQ(guard.count(), 0U);
    }
    EXPECT_EQ(std::ranges::count(out, 0.5F), 24000);
    EXPECT_EQ(voice->heardAt(), time);
    std::int64_t blockTime = 0;
    std::vector<float> played;
    for (std::vector<float> block; reference->pop(blockTime, block);) {
        EXPECT_EQ(blockTime, time + static_cast<std::int64_t>(played.size()) * 1'000'000'000 / 24000);
        played.insert(played.end(), block.begin(), block.end());
    }
    EXPECT_EQ(played, out);
}

}  // namespace
}  // namespace tarn::test
