// A whole microphone session on a private audio server.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "ServiceSound.h"
#include "TarnCore/audio/AudioDevices.h"
#include "TarnCore/audio/MicSession.h"
#include "support/LogCapture.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn::test {
namespace {

struct MicSessionGraphTest : testing::Test {
    PrivateAudioServer server;
    LogCapture log;
    std::shared_ptr<MicSession> session = std::make_shared<MicSession>();
    std::atomic<float> level{-1};
    std::atomic<std::uint32_t> channels{0};

    MicSessionGraphTest() {
        session->onPCM = [this](const PcmBuffer& buffer) { channels = buffer.format().channelCount; };
        session->onLevel = [this](float value) { level = value; };
    }
    ~MicSessionGraphTest() override { session->stop(); }
};

TEST_F(MicSessionGraphTest, CapturesThePreferredDeviceAndPlaysTheDub) {
    server.addSource("headset", "FL,FR");
    until("the headset is listed", [] { return AudioDevices::inputs().size() == 2; });
    std::expected<void, MicSession::MicError> started;
    std::thread([&] { started = session->start(1, false, "headset"); }).join();
    ASSERT_TRUE(started) << started.error().errorDescription();
    EXPECT_THAT(log.lines(),
                testing::ElementsAre("[mic] start() entered. mainThread=false vp=false preferredUID=headset",
                                     "[mic] permission status raw=3 (authorized=true)",
                                     "[mic] EARLY input format: 48000.0Hz 2ch",
                                     "[mic] routing input to device: Test device headset (uid=headset)",
                                     "[mic] after setDevice format: 48000.0Hz 2ch",
                                     "[mic] FINAL probe format: 48000.0Hz 2ch",
                                     "[mic] tap format: 48000.0Hz 2ch vp=false"));

    const Player speaker(server, server.toneFile(500, -6.0206, 60), {.target = PrivateAudioServer::output});
    ASSERT_TRUE(server.answer({"pw-link", speaker.nodeName() + ":output_FL", "headset:input_FL"}));
    until("the first channel's level comes", [&] { return std::abs(level - 0.3536F) < 0.02F; });
    EXPECT_EQ(channels, 1U);

    session->enqueueAudio(serviceTone(900, -6, 60));
    until("the dub is heard", [&] {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        recorder.waitFor(0.3);
        return toneLevel(recorder.stop().channel(1), 900, 48000) > -6.5;
    });
    session->stop();
    until("both nodes are gone", [&] { return !server.hasNode("tarn.mic") && !server.hasNode("tarn.dub"); });
}

TEST_F(MicSessionGraphTest, AChosenDeviceStaysTheCapturedOneWhenItIsNotTheDefaultAnyMore) {
    const Player speaker(server, server.toneFile(500, -6.0206, 60),
                         {.target = PrivateAudioServer::microphoneFeed});
    server.addSource("headset", "FL,FR");
    server.setDefaultSource(PrivateAudioServer::microphone);
    ASSERT_TRUE(session->start(1, false, PrivateAudioServer::microphone));
    EXPECT_EQ(log.lines("[mic] preferred UID == system default; skipping setProperty").size(), 1U);
    until("it is heard", [&] { return std::abs(level - 0.3536F) < 0.02F; });
    server.setDefaultSource("headset");
    server.removeSource(PrivateAudioServer::microphone);
    until("its loss is told", [&] {
        return log.lines("[mic] the microphone went away; capturing silence until it is back").size() == 1;
    });
    EXPECT_EQ(log.lines("[mic] the default microphone is another one now").size(), 0U);
}

TEST_F(MicSessionGraphTest, AServerThatIsAwayIsAnInputWithoutAFormat) {
    server.killPipeWire();
    EXPECT_EQ(session->start(1, true, PrivateAudioServer::microphone).error(),
              (MicError{MicError::InvalidInputFormat{0, 0}}));
}

}  // namespace
}  // namespace tarn::test
