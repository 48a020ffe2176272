// Microphone sessions of one microphone on a private audio server.
#include "TarnCore/audio/SharedMicrophones.h"

#include <gmock/gmock.h>

#include <atomic>

#include "ServiceSound.h"
#include "TarnCore/audio/MicSession.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "support/LogCapture.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn::test {
namespace {

struct SharedMicrophonesTest : testing::Test {
    struct Hearing {
        explicit Hearing(SharedMicrophones& microphones)
            : session(std::make_shared<MicSession>(MicSession::Parts{.engine = microphones.makeEngine()})) {
            session->onPCM = [this](const PcmBuffer& buffer) {
                frames += buffer.frameLength();
                isConverted = buffer.conversion().has_value();
            };
            session->onLevel = [this](float value) { level = value; };
        }
        ~Hearing() { session->stop(); }

        void awaitLevel(float wanted) const {
            until("the level comes", [&] { return std::abs(level - wanted) < 0.02F; });
        }

        std::atomic<std::uint64_t> frames{0};
        std::atomic<float> level{-1};
        std::atomic<bool> isConverted{false};
        std::shared_ptr<MicSession> session;
    };

    std::ptrdiff_t nodes(const std::string& name) {
        const auto graph = AudioServer::shared().snapshot();
        return std::ranges::count_if(graph->nodes, [&](const auto& node) {
            return property(node.second.properties, "node.name") == name;
        });
    }
    double levelOf(double frequency) {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        recorder.waitFor(0.3);
        return toneLevel(recorder.stop().channel(1), frequency, 48000);
    }
    void untilHeard(double frequency, double level) {
        until("the dub is heard", [&] { return std::abs(levelOf(frequency) - level) < 0.5; });
    }

    PrivateAudioServer server;
    LogCapture log;
    const std::shared_ptr<SharedMicrophones> microphones = std::make_shared<SharedMicrophones>();
};

TEST_F(SharedMicrophonesTest, OneCaptureServesSessionsThatComeAndGoEachWithItsDub) {
    const Player talker(server, server.toneFile(500, -6.0206, 120),
                        {.target = PrivateAudioServer::microphoneFeed});
    Hearing first(*microphones);
    Hearing second(*microphones);
    Hearing processed(*microphones);
    ASSERT_TRUE(first.session->start(1, false, std::nullopt));
    first.awaitLevel(0.3536F);
    ASSERT_TRUE(second.session->start(1, false, std::nullopt));
    ASSERT_TRUE(processed.session->start(1, true, std::nullopt));
    second.awaitLevel(0.3536F);
    until("the third hears", [&] { return processed.level > 0; });
    EXPECT_TRUE(first.isConverted && second.isConverted);
    EXPECT_EQ(nodes("tarn.mic"), 2);
    EXPECT_EQ(nodes("tarn.dub"), 3);
    processed.session->stop();

    second.session->setGain(0.5F);
    first.session->enqueueAudio(serviceTone(700, -6, 60));
    second.session->enqueueAudio(serviceTone(900, -6, 60));
    untilHeard(700, -6);
    untilHeard(900, -12);
    first.session->stop();
    const auto heardByFirst = first.frames.load();
    until("its dub has ended", [&] { return levelOf(700) < -60; });
    untilHeard(900, -12);
    const auto before = second.frames.load();
    until("the second goes on", [&] { return second.frames > before + 48000; });
    second.awaitLevel(0.3536F);
    EXPECT_EQ(first.frames, heardByFirst);
    EXPECT_EQ(nodes("tarn.mic"), 1);
    second.session->stop();
    until("the nodes are gone", [&] { return nodes("tarn.mic") + nodes("tarn.dub") == 0; });
    Hearing again(*microphones);
    ASSERT_TRUE(again.session->start(1, false, std::nullopt));
    again.awaitLevel(0.3536F);
}

TEST_F(SharedMicrophonesTest, WhoSharesTurnsOthersDownWhereTheMicrophoneIsProcessed) {
    const Player other(server, server.toneFile(500, -6.0206, 120));
    for (const bool processed : {true, false}) {
        const auto sharing = std::make_shared<SharedMicrophones>(
            [] { return AudioEngine::make({.volumeKeeper = TARN_BIN_DIR "/tarn-unduck"}); });
        Hearing first(*sharing);
        Hearing second(*sharing);
        second.session->turnOthersDown(-20);
        ASSERT_TRUE(first.session->start(1, processed, std::nullopt));
        ASSERT_TRUE(second.session->start(1, processed, std::nullopt));
        second.session->turnOthersDown(-12);
        second.session->enqueueAudio(serviceTone(900, -6, 60));
        untilHeard(900, -6);
        untilHeard(500, processed ? -18 : -6);
        first.session->stop();
        second.session->stop();
        untilHeard(500, -6);
    }
}

TEST_F(SharedMicrophonesTest, TheServersRestartReachesAll) {
    Hearing first(*microphones);
    Hearing second(*microphones);
    ASSERT_TRUE(first.session->start(1, true, std::nullopt));
    ASSERT_TRUE(second.session->start(1, true, std::nullopt));
    until("both hear", [&] { return first.frames > 0 && second.frames > 0; });
    server.killPipeWire();
    server.startPipeWire();
    const Player talker(server, server.toneFile(500, -6.0206, 120),
                        {.target = PrivateAudioServer::microphoneFeed});
    until("both hear the talker", [&] { return first.level > 0.05F && second.level > 0.05F; });
    EXPECT_EQ(nodes("tarn.mic"), 1);
}

}  // namespace
}  // namespace tarn::test
