// Captures of a real graph: who is heard, who is not, and that nobody notices.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>

#include "CaptureSession.h"
#include "OwnTones.h"
#include "TarnPlatform/base/EventQueue.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

class Capture : public testing::Test, protected test::CaptureSession {
protected:
    std::filesystem::path tone(double frequency, double level = -12, double seconds = 60) {
        return session.toneFile(frequency, level, seconds);
    }
    /// The program's tone of 440 Hz at its level, and nothing of this process's own. Not at once: a busy
    /// machine misses a cycle now and then, whose ends are clicks.
    static void untilHeardAlone(test::CaptureProbe& probe, std::initializer_list<double> ours) {
        test::until("only the program is heard", [&] {
            return std::ranges::all_of(probe.next(0.5), [&](const auto& plane) {
                return std::abs(test::toneLevel(plane, 440, 48000) + 12) < 0.1 &&
                       std::ranges::all_of(
                           ours, [&](double own) { return test::toneLevel(plane, own, 48000) < -12 - 90; });
            });
        });
    }
    /// Looks like a program of that identifier.
    static test::PlayerOptions program(const std::string& identifier) {
        return {.applicationName = identifier, .properties = {{"application.id", identifier}}};
    }
};

TEST_F(Capture, HearsEveryProgramButThisProcessWhateverItPlaysThrough) {
    test::Player player(session, tone(440));
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started) << capture.started.error().description;
    EXPECT_TRUE(capture.probe->hears(440, -12));
    AudioServer second;
    const test::OwnTone sameConnection(server, 1000);
    const test::OwnTone otherConnection(second, 1500);
    test::Player late(session, tone(660));
    EXPECT_TRUE(capture.probe->hears(660, -12));
    sameConnection.awaitCycles(20);
    otherConnection.awaitCycles(20);
    EXPECT_NO_THROW(untilHeardAlone(*capture.probe, {1000, 1500}));
    EXPECT_TRUE(capture.stop());
    EXPECT_FALSE(capture.stop());
}

TEST_F(Capture, HearsWhatPlaysThroughAVirtualOutputOnceAndThisProcessNotAtAll) {
    const auto virtualOutput = session.addVirtualOutput("virtual");
    session.setDefaultSink("virtual");
    const test::Player player(session, tone(440));
    const test::OwnTone own(server, 1000);
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started) << capture.started.error().description;
    ASSERT_TRUE(capture.probe->hears(440, -12));
    test::Recorder recorder(session, test::PrivateAudioServer::output, test::Recorder::From::monitor);
    recorder.waitFor(0.5);
    EXPECT_GT(test::toneLevel(test::withoutSilence(recorder.stop().channel(0), 48000), 1000, 48000), -20)
        << "the virtual output does not play";
    EXPECT_NO_THROW(untilHeardAlone(*capture.probe, {1000}));
    const auto content = test::runTask(context, service->getShareableContent(false, false));
    ASSERT_TRUE(content);
    EXPECT_EQ(std::ranges::count(content->applications, "pw-loopback", &RunningApplication::bundleIdentifier),
              0);
}

TEST_F(Capture, FollowsOneProgramThroughAllOfItsProcesses) {
    test::Player other(session, tone(660));
    auto first = std::make_unique<test::Player>(session, tone(440), program("org.example.Player"));
    test::Player otherCase(session, tone(880), program("org.example.player"));
    const auto capture = captureApplication("org.example.Player");
    ASSERT_TRUE(capture.started) << capture.started.error().description;
    EXPECT_TRUE(capture.probe->hears(440, -12));
    test::Player second(session, tone(1100),
                        {.program = test::PlayerOptions::Program::paplay,
                         .properties = {{"application.id", "org.example.Player"}}});
    EXPECT_TRUE(capture.probe->hears(1100, -12));
    first->stop();
    EXPECT_TRUE(capture.probe->doesNotHear(440));
    second.stop();
    EXPECT_TRUE(capture.probe->doesNotHear(1100));
    const auto silent = capture.probe->next(0.3);
    EXPECT_EQ(test::rms(silent[0]), 0);
    test::Player again(session, tone(1300), program("org.example.Player"));
    EXPECT_TRUE(capture.probe->hears(1300, -12));
    for (const auto& plane : capture.probe->next(0.3)) {
        EXPECT_LT(test::toneLevel(plane, 660, 48000), -102);
        EXPECT_LT(test::toneLevel(plane, 880, 48000), -102);
    }
}

TEST_F(Capture, IsHeardByNobodyAndShownByNoMixer) {
    test::Player player(session, session.toneFile(440, -12, 6));
    test::Recorder recorder(session, test::PrivateAudioServer::output, test::Recorder::From::monitor);
    recorder.waitFor(0.5);
    const std::vector<std::string> mixer{"pactl", "list", "short", "source-outputs"};
    const auto before = session.answer(mixer);
    double until = 0.5;
    for (int round = 0; round < 4; ++round) {
        const auto capture = captureAll();
        ASSERT_TRUE(capture.started) << capture.started.error().description;
        ASSERT_TRUE(capture.probe->hears(440, -12));
        EXPECT_LT(test::largestJump(capture.probe->next(0.5)[0], 440, 48000), 0.05);
        EXPECT_EQ(session.answer(mixer), before);
        EXPECT_TRUE(capture.stop());
        recorder.waitFor(until += 0.5);
    }
    player.waitForEnd();
    const auto sound = recorder.stop();
    const auto left = sound.channel(0);
    const auto steady = test::withoutSilence(left, 48000);
    EXPECT_GT(steady.size(), 3 * 48000U);
    EXPECT_LT(test::largestJump(steady, 440, 48000), 0.05);
}

TEST_F(Capture, LeavesNothingOpenWhenItIsStartedOverAndOver) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto once = [&] {
        const auto capture = captureAll();
        ASSERT_TRUE(capture.started) << capture.started.error().description;
        capture.probe->next(0.05);
        EXPECT_TRUE(capture.stop());
        const auto frames = capture.probe->frames();
        const auto content = test::runTask(context, service->getShareableContent(false, false));
        EXPECT_TRUE(content);
        EXPECT_EQ(capture.probe->frames(), frames) << "delivered after the end";
    };
    once();
    const auto before = descriptors();
    for (int round = 0; round < 20; ++round) {
        once();
    }
    EXPECT_LE(descriptors(), before);
}

TEST_F(Capture, MayBeDroppedByItsReceiverWithoutBeingStopped) {
    // A receiver that holds the last reference and lets it go in the middle of a delivery.
    class Dropping : public StreamOutput {
    public:
        EventQueue<int> dropped;
        std::shared_ptr<CaptureStream> mine;
        std::mutex mutex;
        void stream(CaptureStream&, const SampleBuffer&, StreamOutputType) override {
            const std::lock_guard lock(mutex);
            if (mine != nullptr) {
                mine.reset();
                dropped.push(1);
            }
        }
    };
    const auto output = std::make_shared<Dropping>();
    const auto queue = std::make_shared<SerialQueue>("test");
    auto stream = service->makeStream(ContentFilter::excluding({}, {}), configuration(), {});
    ASSERT_TRUE(stream->addStreamOutput(output, StreamOutputType::audio, queue));
    EXPECT_FALSE(stream->addStreamOutput(output, StreamOutputType::audio, queue));
    ASSERT_TRUE(test::runTask(context, stream->startCapture()));
    EXPECT_FALSE(stream->addStreamOutput(output, StreamOutputType::screen, queue));
    EXPECT_FALSE(test::runTask(context, stream->startCapture()));
    {
        const std::lock_guard lock(output->mutex);
        output->mine = std::move(stream);
    }
    EXPECT_TRUE(test::runTask(context, output->dropped.next()));
}

}  // namespace
}  // namespace tarn
