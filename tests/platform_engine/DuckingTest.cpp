// Another program plays a tone, and the monitor of the output tells how loud it is while ours speaks.
#include <signal.h>

#include <future>

#include "CaptureProbe.h"
#include "EngineFixture.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/capture/CaptureService.h"
#include "support/RunTask.h"

namespace tarn::test {
namespace {

struct Ducking : testing::Test, Session, EngineBench {
    const Player other = play(500);

    Player play(double frequency, PlayerOptions::Program program = PlayerOptions::Program::pwCat) {
        return {server, server.toneFile(frequency, -12, 60), {.program = program}};
    }

    void startWithVoiceProcessing() {
        const auto enabled = engine->inputNode().setVoiceProcessingEnabled(true);
        ASSERT_TRUE(enabled) << enabled.error().description;
        tap();
        startPlaying();
    }

    double level(double frequency = 500) {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        recorder.waitFor(0.2);
        const Sound sound = recorder.stop();
        const auto left = sound.channel(0);
        return toneLevel(std::span(left).last(std::min<std::size_t>(left.size(), 4800)), frequency,
                         sound.rate);
    }

    void untilLevel(double expected, double frequency = 500) {
        double last = 0;
        try {
            until("a level", [&] { return std::abs((last = level(frequency)) - expected) < 0.2; });
        } catch (const std::exception&) {
            FAIL() << "level of " << frequency << " Hz is " << last << ", not " << expected;
        }
    }

    std::string inputsOfMixer() { return server.answer({"pactl", "list", "sink-inputs"}).value_or(""); }
};

TEST_F(Ducking, TurnsOthersDownWhileTheDubSpeaksAndUpAfterwards) {
    startWithVoiceProcessing();
    untilLevel(-12);
    scheduleTone(900, -12, 4);
    untilLevel(-24);
    untilLevel(-12, 900);  // our own is left alone
    EXPECT_TRUE(inputsOfMixer().contains("100% / 0.00 dB")) << inputsOfMixer();
    const Player late = play(700, PlayerOptions::Program::paplay);
    scheduleTone(900, -12, 3);
    untilLevel(-24, 700);
    untilLevel(-12);
    untilLevel(-12, 700);
}

/// A capture of all programs, or of one, beside the engine that turns them down.
struct BesideCapture {
    explicit BesideCapture(const ContentFilter& filter)
        : stream(service->makeStream(filter, {.capturesAudio = true, .excludesCurrentProcessAudio = true},
                                     probe)) {
        const auto added =
            stream->addStreamOutput(probe, StreamOutputType::audio, std::make_shared<SerialQueue>("test"));
        asio::io_context context;
        if (!added || !runTask(context, stream->startCapture())) {
            throw std::runtime_error("the capture does not start");
        }
    }
    ~BesideCapture() {
        std::promise<void> stopped;
        stream->stopCapture([&](const Result<void>&) { stopped.set_value(); });
        stopped.get_future().wait();
    }

    const std::unique_ptr<CaptureService> service = CaptureService::make(AudioServer::shared());
    const std::shared_ptr<CaptureProbe> probe = std::make_shared<CaptureProbe>();
    const std::shared_ptr<CaptureStream> stream;
};

TEST_F(Ducking, IsNotHeardByCaptures) {
    startWithVoiceProcessing();
    const BesideCapture all(ContentFilter::excluding({}, {}));
    ASSERT_TRUE(all.probe->hears(500, -12));
    scheduleTone(900, -12, 4);
    untilLevel(-24);
    EXPECT_TRUE(all.probe->hears(500, -12));
    untilLevel(-12);
    // From the beginning of the way down to the end of the way up, 50 ms after the other.
    until("it is as loud all the time", [&] {
        scheduleTone(900, -12, 1);
        const auto left = all.probe->next(2.5)[0];
        int quieter = 0;
        for (std::size_t at = 0; at + 2400 <= left.size(); at += 2400) {
            const double piece = toneLevel(std::span(left).subspan(at, 2400), 500, 48000);
            EXPECT_LT(piece, -11);
            quieter += piece < -13 ? 1 : 0;
        }
        return quieter <= 5;
    });
}

TEST_F(Ducking, OfAPlayerIsAsDeepAsItIsToldAndChangesWhileItSpeaks) {
    const BesideCapture all(ContentFilter::excluding({}, {}));
    const BesideCapture one(ContentFilter::including({}, {{.bundleIdentifier = "pw-cat"}}));
    startPlaying();
    scheduleTone(900, -12, 60);
    untilLevel(-12, 900);
    untilLevel(-12);  // it was not told
    for (const double down : {-20.0, -6.0, -12.0, 0.0, -100.0}) {
        engine->turnOthersDown(down);
        untilLevel(-12 + std::max(down, -20.0));
        EXPECT_TRUE(all.probe->hears(500, -12)) << down;
        EXPECT_TRUE(one.probe->hears(500, -12)) << down;
        untilLevel(-12, 900);
    }
}

TEST_F(Ducking, LastsUntilTheLastVoiceOfSeveralIsSilent) {
    EngineBench second;
    startPlaying();
    second.startPlaying();
    engine->turnOthersDown(-12);
    second.engine->turnOthersDown(-20);
    scheduleTone(900, -12, 60);
    untilLevel(-24);
    second.scheduleTone(700, -12, 60);
    untilLevel(-32);
    second.engine->stop();
    untilLevel(-24);
    engine->stop();
    untilLevel(-12);
}

TEST_F(Ducking, LeavesWhatAVirtualOutputPlaysOnAsItIs) {
    const auto virtualOutput = server.addVirtualOutput("virtual");
    server.setDefaultSink("virtual");
    startWithVoiceProcessing();
    untilLevel(-12);
    scheduleTone(900, -12, 20);
    untilLevel(-24);
    untilLevel(-12, 900);
}

TEST_F(Ducking, AVolumeThatTheUserMovesMeanwhileIsTheUsers) {
    startWithVoiceProcessing();
    scheduleTone(900, -12, 4);
    untilLevel(-24);
    const auto list = server.answer({"pactl", "list", "short", "sink-inputs"}).value_or("");
    for (std::size_t at = 0; at < list.size(); at = list.find('\n', at) + 1) {
        const std::string id = list.substr(at, list.find('\t', at) - at);
        ASSERT_TRUE(server.answer({"pactl", "set-sink-input-volume", id, "-6dB"}));
    }
    untilLevel(-18);
    until("the dub is over", [&] { return player->queuedFrames() == 0; });
    engine->stop();
    untilLevel(-18);
}

TEST_F(Ducking, EndsAtOnceWithTheEngine) {
    startWithVoiceProcessing();
    scheduleTone(900, -12, 60);
    untilLevel(-24);
    engine->stop();
    untilLevel(-12);
}

TEST_F(Ducking, OfAMicrophoneWithoutVoiceProcessingThereIsNone) {
    tap();
    startPlaying();
    engine->turnOthersDown(-12);
    scheduleTone(900, -12, 60);
    untilLevel(-12, 900);
    untilLevel(-12);
}

TEST_F(Ducking, EndsWhenTheProgramIsKilled) {
    SessionProgram program = server.run({TARN_BIN_DIR "/ducking_program"});
    untilLevel(-24);
    program.kill();
    untilLevel(-12);
}

TEST_F(Ducking, DoesNotHappenWithoutAKeeper) {
    engine = AudioEngine::make({.volumeKeeper = "/nowhere/tarn-unduck"});
    startWithVoiceProcessing();
    scheduleTone(900, -12, 60);
    untilLevel(-12, 900);
    until("it is said", [&] { return log.lines("[dub] other programs are not turned down: ").size() == 1; });
    untilLevel(-12);
}

}  // namespace
}  // namespace tarn::test
