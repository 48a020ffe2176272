// Captures of a real graph whose daemons die, hang, come back or were never there.

#include <gmock/gmock.h>

#include "CaptureSession.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* wentAway = "[audio] the audio server went away; trying to reach it again";

class CaptureFault : public testing::Test, protected test::CaptureSession {
protected:
    std::filesystem::path tone(double frequency = 440) { return session.toneFile(frequency, -12, 60); }
};

TEST_F(CaptureFault, OfAServerThatIsKilledIsASilenceInRealTime) {
    auto player = std::make_unique<test::Player>(session, tone());
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started) << capture.started.error().description;
    ASSERT_TRUE(capture.probe->hears(440, -12));
    session.killPipeWire();
    ASSERT_TRUE(capture.probe->doesNotHear(440));
    const auto before = std::chrono::steady_clock::now();
    const auto silence = capture.probe->next(2);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - before;
    EXPECT_EQ(test::rms(silence[0]), 0);
    EXPECT_GT(took.count(), 1.8);
    player.reset();
    session.startPipeWire();
    test::Player again(session, tone(660));
    EXPECT_TRUE(capture.probe->hears(660, -12));
    EXPECT_THAT(log.lines(), ElementsAre(wentAway));
    EXPECT_TRUE(capture.stop());
}

TEST_F(CaptureFault, OfAServerThatIsGoneEndsWithAStop) {
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started);
    session.killPipeWire();
    capture.probe->next(0.5);
    EXPECT_TRUE(capture.stop());
    const auto refused = captureAll();
    ASSERT_FALSE(refused.started);
    EXPECT_EQ(refused.started.error().description, "the audio server (PipeWire) is not running");
    const auto content = test::runTask(context, service->getShareableContent(false, false));
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().kind, ErrorKind::unavailable);
}

TEST_F(CaptureFault, OfAServerThatHangsIsToldInTimeAndPasses) {
    const auto running = captureAll();
    ASSERT_TRUE(running.started);
    session.pausePipeWire();
    running.probe->next(1);
    const auto refused = captureAll();
    ASSERT_FALSE(refused.started);
    EXPECT_EQ(refused.started.error().description, "the audio server (PipeWire) does not answer");
    const auto content = test::runTask(context, service->getShareableContent(false, false));
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().kind, ErrorKind::timeout);
    session.resumePipeWire();
    test::Player player(session, tone());
    EXPECT_TRUE(running.probe->hears(440, -12));
    const auto second = captureAll();
    ASSERT_TRUE(second.started) << second.started.error().description;
    EXPECT_TRUE(second.probe->hears(440, -12));
    // The server may make up for the cycles that it missed, all at once.
    EXPECT_LE(log.lines().size(), 1U);
}

TEST_F(CaptureFault, OfASessionManagerThatStartsAgainLosesNoChannel) {
    test::Player player(session, tone());
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started);
    ASSERT_TRUE(capture.probe->hears(440, -12));
    session.stopWirePlumber();
    ASSERT_TRUE(capture.probe->hears(440, -12));
    const auto manager = session.runWirePlumber();
    // It takes our stream down and up again, and leaves one link without sound.
    capture.probe->next(0.5);
    EXPECT_TRUE(capture.probe->hears(440, -12));
    capture.probe->next(1);
    EXPECT_TRUE(capture.probe->hears(440, -12));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureFault, OfTheDefaultOutputIsNotHeard) {
    session.addSink("second", "FL,FR,FC,LFE,RL,RR");
    session.setDefaultSink("second");
    test::Player player(session, tone());
    const auto capture = captureAll();
    ASSERT_TRUE(capture.probe->hears(440, -12));
    session.removeSink("second");
    EXPECT_TRUE(capture.probe->hears(440, -12));
    session.addSink("mono", "MONO");
    session.setDefaultSink("mono");
    // In both channels alike, as the file has it.
    EXPECT_TRUE(capture.probe->hears(440, -12));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureFault, OfItsOwnStreamIsMended) {
    test::Player player(session, tone());
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started);
    for (const std::size_t times : {1U, 2U}) {
        ASSERT_TRUE(capture.probe->hears(440, -12));
        ASSERT_TRUE(session.answer({"pw-cli", "destroy", "tarn-capture"}));
        test::until("the loss is told", [&] { return log.lines("[capture]").size() == times; });
    }
    EXPECT_TRUE(capture.probe->hears(440, -12));
    EXPECT_EQ(log.lines().back(), "[capture] the audio server let go of the stream; trying again");
    EXPECT_TRUE(capture.stop());
}

TEST_F(CaptureFault, OfItsOwnStreamThatLastsIsToldOnce) {
    const auto capture = captureAll();
    ASSERT_TRUE(capture.started);
    session.stopWirePlumber();
    ASSERT_TRUE(session.answer({"pw-cli", "destroy", "tarn-capture"}));
    const auto error = capture.probe->awaitEnd();
    ASSERT_TRUE(error);
    EXPECT_THAT(error->description, HasSubstr("the audio server ended the capture"));
    EXPECT_FALSE(capture.stop());
    session.startWirePlumber();
    const auto next = captureAll();
    EXPECT_TRUE(next.started);
}

TEST(CaptureWithoutASessionManager, DoesNotStart) {
    test::CaptureSession session({.sessionManager = false, .pulse = false});
    const auto capture = session.captureAll();
    ASSERT_FALSE(capture.started);
    EXPECT_THAT(capture.started.error().description, HasSubstr("session manager"));
    EXPECT_FALSE(capture.stop());
}

}  // namespace
}  // namespace tarn
