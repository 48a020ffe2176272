// The way of a session: the list of applications and the captures of a real graph.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <future>
#include <semaphore>

#include "OwnTones.h"
#include "TarnCore/audio/AudioApps.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "support/LogCapture.h"
#include "support/RunTask.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

using testing::Contains;

struct Desktop {
    explicit Desktop(const test::AudioServerOptions& options = {}) : session(options) {}

    Result<std::shared_ptr<CaptureStream>> start(std::optional<std::string> bundleID = std::nullopt) {
        return test::runTask(context, startSystemAudioCapture(sink, std::move(bundleID), *service));
    }

    test::LogCapture log;
    test::PrivateAudioServer session;
    AudioServer server;
    std::unique_ptr<CaptureService> service = CaptureService::make(server);
    asio::io_context context{1};
    std::shared_ptr<AudioSink> sink = std::make_shared<AudioSink>();
};

TEST(SystemAudioCaptureOfAGraph, HearsTheApplicationThatIsChosenFromTheList) {
    Desktop desktop;
    test::Player player(
        desktop.session, desktop.session.toneFile(440, -12, 30),
        {.applicationName = "Player", .properties = {{"application.id", "org.example.player"}}});
    const auto apps = test::runTask(desktop.context, availableAudioApps(*desktop.service));
    ASSERT_TRUE(apps) << apps.error().description;
    ASSERT_THAT(*apps, Contains(AudioCapableApp{"org.example.player", "Player"}));
    std::binary_semaphore isHeard{0};
    bool heard = false;
    desktop.sink->onLevel = [&](float level) {
        if (!heard && level > 0.17F && level < 0.185F) {
            heard = true;
            isHeard.release();
        }
    };
    const auto stream = desktop.start("org.example.player");
    ASSERT_TRUE(stream) << stream.error().description;
    EXPECT_TRUE(isHeard.try_acquire_for(std::chrono::seconds(20)));
    std::promise<bool> stopped;
    (*stream)->stopCapture([&](const Result<void>& result) { stopped.set_value(result.has_value()); });
    EXPECT_TRUE(stopped.get_future().get());
    EXPECT_GT(desktop.sink->audioFrames(), 0);
    EXPECT_THAT(desktop.log.lines(),
                testing::ElementsAre("[capture] restricted to app: Player (org.example.player)",
                                     "[capture] input format: 48000.0Hz 2ch interleaved=false"));
}

TEST(SystemAudioCaptureOfAGraph, ListsAndTakesAnApplicationThatIsOpenAndSilent) {
    Desktop desktop;
    const test::ForeignTone paused(440, test::ForeignTone::State::paused);
    std::vector<AudioCapableApp> apps;
    test::until("the silent application is listed", [&] {
        apps = test::runTask(desktop.context, availableAudioApps(*desktop.service)).value_or(apps);
        return !apps.empty();
    });
    const auto graph = desktop.server.snapshot();
    ASSERT_TRUE(graph);
    for (const auto& [id, node] : graph->nodes) {
        EXPECT_FALSE(node.isOutputStream() && node.running);
    }
    EXPECT_TRUE(desktop.start(apps.front().bundleID));
}

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
