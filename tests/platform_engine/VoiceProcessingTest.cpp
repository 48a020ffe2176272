// The microphone hears the output, as it would in a room without any sound of its own.
#include <cmath>
#include <functional>
#include <optional>

#include "EngineFixture.h"

namespace tarn::test {
namespace {

struct VoiceProcessingTest : testing::Test, Session {
    void openLoudspeaker() {
        for (const std::string channel : {"FL", "FR"}) {
            ASSERT_TRUE(
                server.answer({"pw-link", std::string(PrivateAudioServer::output) + ":monitor_" + channel,
                               std::string(PrivateAudioServer::microphoneFeed) + ":playback_" + channel}));
        }
    }

    Sound speech() {
        const auto spoken = server.speechFile(
            "The weather will stay fine until Sunday evening, and then rain is expected in the north. "
            "Please take your seats, the train to the coast leaves in five minutes from platform two. "
            "We shall meet again tomorrow morning at nine, in the large room on the second floor.");
        const auto file = server.newFile(".wav");
        EXPECT_TRUE(
            server.answer({"sox", spoken.string(), "-r", "24000", "-c", "1", file.string(), "gain", "-3"}));
        return readSound(file);
    }

    /// Level in dB of what the microphone gives of the speech after five seconds of it.
    double echo(EngineBench& bench, const std::function<void()>& speak) {
        bench.tap();
        bench.startPlaying();
        speak();
        EXPECT_FALSE(bench.heard->next(5).empty());
        const auto rest = bench.heard->next(4);
        EXPECT_FALSE(rest.empty());
        bench.engine->stop();
        return 20 * std::log10(rms(rest) + 1e-9);
    }
};

enum class Speaker { own, ownOnTheLeft, anotherColumn, anotherProgram };

struct EchoOf : VoiceProcessingTest, testing::WithParamInterface<Speaker> {
    EngineBench another;
    std::optional<Player> program;

    double echoIn(EngineBench& bench) {
        if (GetParam() == Speaker::anotherColumn) {
            another.startPlaying();
        }
        const double level = echo(bench, [&] {
            if (GetParam() == Speaker::anotherProgram) {
                const auto file = server.newFile(".wav");
                writeSound(file, speech());
                program.emplace(server, file);
            } else {
                bench.engine->setPlace(GetParam() == Speaker::ownOnTheLeft ? -0.7F : 0);
                (GetParam() == Speaker::anotherColumn ? another : bench).schedule(speech());
            }
        });
        program.reset();
        another.player->stop();
        another.engine->stop();
        return level;
    }
};

TEST_P(EchoOf, IsTakenOutOfTheMicrophone) {
    openLoudspeaker();
    EngineBench plain;
    const double unprocessed = echoIn(plain);
    EXPECT_GT(unprocessed, -40);

    EngineBench processing;
    const auto enabled = processing.engine->inputNode().setVoiceProcessingEnabled(true);
    ASSERT_TRUE(enabled) << enabled.error().description;
    EXPECT_EQ(processing.engine->inputNode().inputFormat(0).channelCount, 1U);
    another = EngineBench();
    EXPECT_LT(echoIn(processing), unprocessed - 20);
    EXPECT_EQ(log.lines(), std::vector<std::string>());
    until("the ear on the output is gone", [&] { return !server.hasNode("tarn.echo"); });
}

INSTANTIATE_TEST_SUITE_P(All, EchoOf,
                         testing::Values(Speaker::own, Speaker::ownOnTheLeft, Speaker::anotherColumn,
                                         Speaker::anotherProgram));

TEST_F(VoiceProcessingTest, IsNotChangedWhileTheEngineRunsAndLeavesTheRawSoundAfterwards) {
    EngineBench bench;
    auto& input = bench.engine->inputNode();
    const AudioFormat raw = input.inputFormat(0);
    ASSERT_TRUE(input.setVoiceProcessingEnabled(true));
    EXPECT_NE(input.inputFormat(0), raw);
    bench.tap();
    ASSERT_TRUE(bench.engine->start());
    EXPECT_FALSE(input.setVoiceProcessingEnabled(false));
    until("the ear on the output is there", [&] { return server.hasNode("tarn.echo"); });
    std::string inMixers;
    until("the microphone is shown in mixers", [&] {
        inMixers = server.answer({"pactl", "list", "source-outputs"}).value_or("");
        return inMixers.contains("tarn.mic");
    });
    EXPECT_FALSE(inMixers.contains("tarn.echo"));
    bench.engine->stop();
    ASSERT_TRUE(input.setVoiceProcessingEnabled(false));
    EXPECT_EQ(input.inputFormat(0), raw);
}

}  // namespace
}  // namespace tarn::test
