// The way of a session: the list of applications and the captures of a real graph.

#include <gmock/gmock.h>
#include <unistd.h>

#include "CaptureSession.h"
#include "OwnTones.h"
#include "TarnCore/audio/SystemAudioCapture.h"

namespace tarn {
namespace {

using testing::Contains;

struct Desktop : test::CaptureSession {
    using CaptureSession::CaptureSession;

    Result<std::shared_ptr<CaptureStream>> start(std::optional<std::string> bundleID = std::nullopt) {
        return test::runTask(context, startSystemAudioCapture(sink, std::move(bundleID), *service));
    }

    std::shared_ptr<AudioSink> sink = std::make_shared<AudioSink>();
};

TEST(SystemAudioCaptureOfAGraph, FindsThisProcessWhileItPlays) {
    Desktop desktop;
    const test::OwnTone own(desktop.server, 440);
    own.awaitCycles(5);
    ASSERT_TRUE(desktop.start());
    EXPECT_THAT(desktop.log.lines("[capture] self in SCK app list ("),
                Contains(testing::EndsWith(" pid=" + std::to_string(::getpid()) + ") — will be excluded")));
}

TEST(SystemAudioCaptureOfAGraph, NeedsAnOutput) {
    Desktop desktop({.devices = false});
    const auto stream = desktop.start();
    ASSERT_FALSE(stream);
    EXPECT_EQ(stream.error().code, 1);
    EXPECT_EQ(stream.error().description, "no display");
    desktop.session.addSink("first", "FL,FR");
    EXPECT_TRUE(desktop.start());
}

}  // namespace
}  // namespace tarn
