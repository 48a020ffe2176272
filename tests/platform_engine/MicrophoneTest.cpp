// Captures microphones of a private audio server: the default one hears what is played into its feed, and
// those that a test adds hear what is linked to them.
#include "EngineFixture.h"
#include "TarnPlatform/audioserver/AudioHardware.h"
#include "TarnPlatform/engine/MicrophoneWorker.h"
#include "support/AllocationGuard.h"

namespace tarn::test {
namespace {

struct Microphone : testing::Test, Session, EngineBench {
    explicit Microphone(const AudioServerOptions& options = {}) : Session(options) {}

    AudioFormat startCapturing() {
        const AudioFormat format = tap();
        const auto started = engine->start();
        EXPECT_TRUE(started) << started.error().description;
        return format;
    }

    static std::uint32_t idOf(const std::string& uid) {
        const auto list = AudioHardware::system().read();
        const auto found = std::ranges::find(list->devices, uid, &HardwareDevice::uid);
        return found == list->devices.end() ? 0 : found->id;
    }

    double levelOf(double frequency, std::size_t channel = 0) {
        const auto samples = heard->next(0.3, channel);
        return toneLevel(samples, frequency, 48000);
    }

    /// A player whose sound `microphone`, which has one channel, hears.
    Player speakInto(const std::string& microphone, const std::filesystem::path& file) {
        Player speaker(server, file, {.target = PrivateAudioServer::output});
        EXPECT_TRUE(
            server.answer({"pw-link", speaker.nodeName() + ":output_FL", microphone + ":input_MONO"}));
        return speaker;
    }
};

TEST_F(Microphone, DeliversEveryChannelAtItsLevelWithoutAGap) {
    Sound both = tone(500, -6, 30, 48000, 2);
    for (std::size_t frame = 0; frame < both.samples.size() / 2; ++frame) {
        both.samples[2 * frame + 1] = 0.25F * both.samples[2 * frame];
    }
    const auto file = server.newFile(".wav");
    writeSound(file, both);
    EXPECT_EQ(startCapturing(), (AudioFormat{CommonFormat::float32, 48000, 2, false, std::nullopt}));
    const Player speaker(server, file, {.target = PrivateAudioServer::microphoneFeed});
    until("the sound is heard", [&] { return levelOf(500) > -6.05; });
    EXPECT_NEAR(levelOf(500, 1), -6 - 12.04, 0.05);
    until("it is heard without a gap", [&] { return largestJump(heard->next(0.5), 500, 48000) < 0.05; });
    engine->stop();
    const std::size_t frames = heard->frames();
    EXPECT_FALSE(engine->isRunning());
    EXPECT_EQ(heard->frames(), frames);
    until("the node is gone", [&] { return !server.hasNode("tarn.mic"); });
}

TEST_F(Microphone, AChosenOneThatIsGoneIsSilenceAndNoOtherAndComesBack) {
    server.addSource("headset", "MONO");
    until("the headset is listed", [] { return idOf("headset") != 0; });
    ASSERT_EQ(engine->inputNode().audioUnit()->setCurrentDevice(idOf("headset")), 0);
    EXPECT_EQ(startCapturing().channelCount, 1U);
    const Player other(server, server.toneFile(500, -6, 60), {.target = PrivateAudioServer::microphoneFeed});
    {
        const Player speaker = speakInto("headset", server.toneFile(800, -12, 60));
        until("the headset is heard", [&] { return levelOf(800) > -12.1; });
    }
    EXPECT_LT(levelOf(500), -100);

    server.removeSource("headset");
    until("the loss is told", [&] { return !log.lines("[mic]").empty(); });
    const std::size_t before = heard->frames();
    const auto begin = std::chrono::steady_clock::now();
    const auto silence = heard->next(1);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(rms(silence), 0);
    EXPECT_NEAR(static_cast<double>(heard->frames() - before) / 48000, took.count(), 0.3);

    server.addSource("headset", "MONO");
    const Player speaker = speakInto("headset", server.toneFile(800, -12, 60));
    until("the headset is heard again", [&] { return levelOf(800) > -12.1; });
    EXPECT_EQ(log.lines("[mic]").size(), 1U);
}

TEST_F(Microphone, WithoutAChoiceTheDefaultIsFollowed) {
    startCapturing();
    const Player first(server, server.toneFile(500, -6, 60), {.target = PrivateAudioServer::microphoneFeed});
    until("the first is heard", [&] { return levelOf(500) > -6.1; });
    server.addSource("headset", "MONO");
    const Player second = speakInto("headset", server.toneFile(800, -12, 60));
    server.setDefaultSource("headset");
    until("the second is heard", [&] { return levelOf(800) > -12.1; });
    until("the first is not", [&] { return levelOf(500) < -100; });
    until("both channels, as in the beginning, have it",
          [&] { return std::abs(levelOf(800, 1) - levelOf(800, 0)) < 0.1; });
    server.removeSource("headset");
    until("the first is heard again", [&] { return levelOf(500) > -6.1; });
    const std::string another = "[mic] the default microphone is another one now; capturing ";
    EXPECT_EQ(log.lines(another),
              (std::vector{another + "Test device headset", another + "Test microphone"}));
}

TEST_F(Microphone, AStreamThatIsTakenFromUsIsMadeAgain) {
    startCapturing();
    const Player speaker(server, server.toneFile(500, -6, 60),
                         {.target = PrivateAudioServer::microphoneFeed});
    until("it is heard", [&] { return levelOf(500) > -6.1; });
    for (const std::size_t times : {1U, 2U}) {
        ASSERT_TRUE(server.answer({"pw-cli", "destroy", "tarn.mic"}));
        until("the loss is told", [&] { return log.lines("[mic]").size() == times; });
        until("it is heard again", [&] { return levelOf(500) > -6.1; });
    }
    EXPECT_EQ(log.lines("[mic]").back(), "[mic] the audio server let go of the stream; trying again");
}

TEST_F(Microphone, IsHeardWithoutTheSessionManager) {
    server.addSource("headset", "MONO");
    until("the headset is listed", [] { return idOf("headset") != 0; });
    ASSERT_EQ(engine->inputNode().audioUnit()->setCurrentDevice(idOf("headset")), 0);
    startCapturing();
    const Player speaker = speakInto("headset", server.toneFile(500, -6, 120));
    until("it is heard", [&] { return levelOf(500) > -6.1; });
    server.stopWirePlumber();
    until("the loss is told", [&] { return log.lines("[audio] the session manager").size() == 1; });
    until("it is heard again", [&] { return levelOf(500) > -6.1; });
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(Microphone, IsSilentWhileTheServerIsAwayAndThenGoesOn) {
    startCapturing();
    server.killPipeWire();
    until("the loss is told", [&] { return !log.lines("[audio]").empty(); });
    EXPECT_EQ(rms(heard->next(1)), 0);
    server.startPipeWire();
    const Player speaker(server, server.toneFile(500, -6, 60),
                         {.target = PrivateAudioServer::microphoneFeed});
    until("it is heard again", [&] { return levelOf(500) > -6.1; });
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(Microphone, IsSilentWhileTheServerHangs) {
    startCapturing();
    ASSERT_FALSE(heard->next(0.1).empty());
    server.pausePipeWire();
    EXPECT_EQ(rms(heard->next(1)), 0);
    server.resumePipeWire();
    const Player speaker(server, server.toneFile(500, -6, 60),
                         {.target = PrivateAudioServer::microphoneFeed});
    until("it is heard again", [&] { return levelOf(500) > -6.1; });
}

TEST_F(Microphone, ATapMayEndItsEngine) {
    auto& input = engine->inputNode();
    std::atomic<bool> started{false};
    std::atomic<bool> ended{false};
    input.installTap(0, 1024, input.inputFormat(0), [&](const PcmBuffer&) {
        started.wait(false);
        engine.reset();
        ended = true;
    });
    ASSERT_TRUE(engine->start());
    started = true;
    started.notify_all();
    until("it ended", [&] { return ended.load(); });
}

TEST_F(Microphone, ADeviceThatIsNoneIsRefused) {
    AudioUnit& unit = *engine->inputNode().audioUnit();
    EXPECT_EQ(unit.setCurrentDevice(99999), -ENODEV);
    EXPECT_EQ(unit.setCurrentDevice(idOf(PrivateAudioServer::output)), -ENODEV);
    server.killPipeWire();
    EXPECT_EQ(unit.setCurrentDevice(1), -EHOSTDOWN);
    EXPECT_EQ(engine->inputNode().inputFormat(0).channelCount, 0U);
}

struct NoMicrophone : Microphone {
    NoMicrophone() : Microphone({.devices = false}) {}
};

TEST_F(NoMicrophone, TheOutputsOwnSoundIsNotTakenForOne) {
    server.addSink("speakers", "FL,FR");
    const AudioFormat format = engine->inputNode().inputFormat(0);
    EXPECT_EQ(format.sampleRate, 0);
    EXPECT_EQ(format.channelCount, 0U);
    EXPECT_FALSE(AudioHardware::system().read()->defaultInput);
    EXPECT_FALSE(engine->inputNode().setVoiceProcessingEnabled(true));
    tap();
    EXPECT_FALSE(engine->start());
    EXPECT_FALSE(engine->isRunning());
}

TEST(MicrophoneWorkerTest, TakesSoundWithoutAskingTheHeapAndLosesNone) {
    std::vector<float> got;
    auto worker = MicrophoneWorker::make({CommonFormat::float32, 1000, 1, false, std::nullopt}, nullptr,
                                         nullptr, [&](const PcmBuffer& buffer) {
                                             const float* const samples = buffer.floatChannelData();
                                             got.insert(got.end(), samples, samples + buffer.frameLength());
                                         });
    std::vector<float> expected;
    for (int block = 0; block < 100; ++block) {
        const std::vector<float> samples(7, static_cast<float>(block + 1));
        const AllocationGuard guard;
        worker->capturedRt(samples, block);
        EXPECT_EQ(guard.count(), 0U);
        expected.insert(expected.end(), samples.begin(), samples.end());
    }
    worker->silent(20000, 100);
    expected.insert(expected.end(), 20000, 0.0F);
    worker->endTap();
    EXPECT_EQ(got, expected);
}

}  // namespace
}  // namespace tarn::test
