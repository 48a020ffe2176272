// The command line on sound: real programs, a real audio server of the test's own, and a relay whose script
// tells what it has been sent.
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <span>

#include "CliFixture.h"
#include "TarnPlatform/net/Base64.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CliCapture : public test::CliFixture {
protected:
    /// Speaks once two seconds of sound have come.
    static constexpr const char* afterTwoSeconds =
        "{\"after_audio\":64000,\"event\":{\"type\":\"conversation.item.input_audio_transcription."
        "completed\","
        "\"transcript\":\"enough\"}}\n"
        "{\"after_audio\":64000,\"event\":{\"type\":\"response.audio_transcript.done\",\"transcript\":"
        "\"bastante\"}}\n";

    void startAudio() {
        audio.emplace();
        runtimeFolder = audio->folder();
    }

    std::optional<test::PrivateAudioServer> audio;
};

TEST_F(CliCapture, ListsWhatThereIsToListenTo) {
    startAudio();
    const test::Player player(
        *audio, audio->toneFile(440, -12, 20),
        {.applicationName = "Tone player", .properties = {{"application.id", "org.tone"}}});
    const auto apps = start({"apps"});
    EXPECT_EQ(apps->wait(), 0) << apps->err();
    EXPECT_THAT(apps->out(), HasSubstr("org.tone\tTone player\n"));
    const auto devices = start({"devices"});
    EXPECT_EQ(devices->wait(), 0) << devices->err();
    EXPECT_EQ(devices->out(), "tarn-test-mic\tTest microphone\t(default)\n");
}

TEST_F(CliCapture, TranslatesWhatPlaysAndEndsAfterItsTime) {
    startAudio();
    startRelay(afterTwoSeconds);
    const test::Player player(*audio, audio->toneFile(440, -12, 20),
                              {.properties = {{"application.id", "org.tone"}}});
    const std::vector<std::vector<std::string>> sources = {
        {"--source", "system", "--dub", "play"},
        {"--source", "application", "--app", "org.tone"},
        {"--source", "mic", "--device", "tarn-test-mic", "--dub", "play"},
        {"--source", "mic", "--voice-processing", "off"},
    };
    std::vector<std::unique_ptr<test::Program>> runs;
    for (auto arguments : sources) {
        arguments.insert(arguments.end(),
                         {"--from", "en", "--to", "es", "--silence-ms", "100", "--duration", "3"});
        runs.push_back(start(arguments));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i]->wait(), 0) << i << ": " << runs[i]->err();
        EXPECT_EQ(runs[i]->out(), "en: enough\nes: bastante\n") << i << ": " << runs[i]->err();
        EXPECT_THAT(runs[i]->err(), HasSubstr("listening to")) << i;
    }
}

TEST_F(CliCapture, TranslatesFourSourcesSideBySide) {
    startAudio();
    startRelay(afterTwoSeconds);
    const test::Player player(*audio, audio->toneFile(440, -12, 20),
                              {.properties = {{"application.id", "org.tone"}}});
    const auto cli = start({"--to",     "es",          "--silence-ms", "100",      "--duration", "3",   //
                            "--source", "system",      "--from",       "en",                            //
                            "--source", "mic",         "--from",       "es",       "--to",       "en",  //
                            "--source", "application", "--app",        "org.tone",                      //
                            "--source", "system",      "--to",         "fr"});
    EXPECT_EQ(cli->wait(), 0) << cli->err();
    for (const char* const line :
         {"1 en: enough\n", "1 es: bastante\n", "2 es: enough\n", "2 en: bastante\n", "3 heard: enough\n",
          "3 es: bastante\n", "4 heard: enough\n", "4 fr: bastante\n"}) {
        EXPECT_THAT(cli->out(), HasSubstr(line)) << cli->err();
    }
}

TEST_F(CliCapture, TurnsOthersDownAsFarAsAskedWhileItSpeaks) {
    startAudio();
    std::string dub;
    for (int i = 0; i < 24000; ++i) {
        const auto sample =
            static_cast<std::int16_t>(std::lround(8000 * std::sin(2 * std::numbers::pi * 900 * i / 24000)));
        dub += {static_cast<char>(sample & 0xFF), static_cast<char>((sample >> 8) & 0xFF)};
    }
    std::string script;
    for (int i = 0; i < 20; ++i) {
        script += R"({"after_audio":16000,"event":{"type":"response.audio.delta","delta":")" +
                  base64Encode(std::as_bytes(std::span(dub))) + "\"}}\n";
    }
    startRelay(script);
    const test::Player film(*audio, audio->toneFile(440, -12, 120));
    const auto untilHeard = [this](double frequency, double level) {
        test::until(std::to_string(frequency) + " Hz are heard", [&] {
            test::Recorder recorder(*audio, test::PrivateAudioServer::output, test::Recorder::From::monitor);
            recorder.waitFor(0.4);
            const auto left = recorder.stop().channel(0);
            return std::abs(test::toneLevel(std::span(left).last(4800), frequency, 48000) - level) < 0.3;
        });
    };
    for (const auto& [option, expected] : {std::pair("6", -18.0), {"0", -12.0}}) {
        const auto cli = start({"--source", "system", "--to", "es", "--dub", "play", "--duration", "8",
                                "--drain", "1", "--turn-others-down", option});
        untilHeard(900, -12.25);
        untilHeard(440, expected);
        EXPECT_EQ(cli->wait(), 0) << cli->err();
        untilHeard(440, -12);
    }
}

TEST_F(CliCapture, SaysWhatIsNotThere) {
    startRelay(afterTwoSeconds);
    const auto silent = start({"--source", "system", "--to", "es"});
    EXPECT_EQ(silent->wait(), 1);
    EXPECT_THAT(silent->err(), HasSubstr("he audio server (PipeWire) is not running"));
    for (const char* const list : {"apps", "devices"}) {
        const auto cli = start({list});
        EXPECT_EQ(cli->wait(), 1);
        EXPECT_THAT(cli->err(), HasSubstr("cannot be listed: the audio server (PipeWire) is not running"));
    }
    startAudio();
    const auto unknown = start({"--source", "application", "--app", "Org.Tone", "--to", "es"});
    EXPECT_EQ(unknown->wait(), 1);
    EXPECT_THAT(unknown->err(),
                HasSubstr("App 'Org.Tone' isn't running or isn't visible. Refresh the app list, or "
                          "open the app first."));
    // An unknown microphone is no error: the default one is listened to.
    const auto microphone = start(
        {"--source", "mic", "--device", "nowhere", "--to", "es", "--silence-ms", "100", "--duration", "3"});
    EXPECT_EQ(microphone->wait(), 0) << microphone->err();
    EXPECT_THAT(microphone->err(), AllOf(HasSubstr("preferredUID=nowhere"), Not(HasSubstr("routing input"))));
}

TEST_F(CliCapture, GoesOnThroughADeadAudioServer) {
    startAudio();
    startRelay(
        "{\"after_audio\":160000,\"event\":{\"type\":\"response.audio_transcript.done\",\"transcript\":"
        "\"still here\"}}\n");
    const auto cli = start({"--source", "system", "--to", "es", "--silence-ms", "100", "--duration", "5.5"});
    cli->waitForError("listening to");
    audio->killPipeWire();
    cli->waitForError("the audio server went away");
    audio->startPipeWire();
    EXPECT_EQ(cli->wait(), 0) << cli->err();
    EXPECT_EQ(cli->out(), "es: still here\n") << cli->err();
}

}  // namespace
}  // namespace tarn
