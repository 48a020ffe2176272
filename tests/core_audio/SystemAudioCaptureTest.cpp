// Starting a capture and listing applications on a desktop whose content the test gives.

#include "TarnCore/audio/SystemAudioCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "CaptureStreamStub.h"
#include "TarnCore/audio/AudioApps.h"
#include "support/LogCapture.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SystemAudioCapture : public testing::Test {
protected:
    SystemAudioCapture() {
        speak("en_GB.UTF-8");
        service.content = ShareableContent{{{3, "Loudspeaker"}, {4, "Headphones"}},
                                           {{"org.music", "Music", 5}, {"org.film", "Film", 6}}};
    }

    static void speak(const char* language) {
        ::unsetenv("LANGUAGE");
        ::setenv("LC_ALL", language, 1);
    }

    Result<std::shared_ptr<CaptureStream>> start(std::optional<std::string> bundleID = std::nullopt) {
        return test::runTask(context, startSystemAudioCapture(sink, std::move(bundleID), service));
    }

    std::vector<std::string> names() {
        std::vector<std::string> listed;
        const auto apps = test::runTask(context, availableAudioApps(service));
        for (const auto& app : apps.value()) {
            listed.push_back(app.name);
        }
        return listed;
    }

    test::LogCapture log;
    asio::io_context context{1};
    test::CaptureServiceStub service;
    std::shared_ptr<AudioSink> sink = std::make_shared<AudioSink>();
};

TEST_F(SystemAudioCapture, ExcludesThisApplicationWhereItIsListed) {
    const RunningApplication self{"tarn", "Tarn", ::getpid()};
    service.content->applications.push_back(self);
    const auto stream = start();
    ASSERT_TRUE(stream);
    EXPECT_EQ(*stream, service.stream);
    EXPECT_FALSE(service.filter->includes());
    EXPECT_THAT(service.filter->applications(), ElementsAre(self));
    EXPECT_EQ(service.filter->display().displayID, 3U);
    EXPECT_THAT(service.questions, ElementsAre(std::pair(false, false)));
    EXPECT_THAT(log.lines(), ElementsAre("[capture] self in SCK app list (tarn pid=" +
                                         std::to_string(::getpid()) + ") — will be excluded"));
}

TEST_F(SystemAudioCapture, ExcludesNobodyWhereThisApplicationIsNotListed) {
    for (const auto& bundleID : {std::optional<std::string>(), std::optional<std::string>("")}) {
        ASSERT_TRUE(start(bundleID));
        EXPECT_FALSE(service.filter->includes());
        EXPECT_THAT(service.filter->applications(), IsEmpty());
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SystemAudioCapture, IsRestrictedToTheApplicationThatIsChosen) {
    ASSERT_TRUE(start("org.film"));
    EXPECT_TRUE(service.filter->includes());
    EXPECT_THAT(service.filter->applications(), ElementsAre(RunningApplication{"org.film", "Film", 6}));
    EXPECT_THAT(log.lines(), ElementsAre("[capture] restricted to app: Film (org.film)"));
}

TEST_F(SystemAudioCapture, GivesBothQueuesToTheSinkAndAsksForTheSmallestPicture) {
    ASSERT_TRUE(start());
    EXPECT_EQ(service.delegate, sink);
    EXPECT_THAT(service.stream->outputs, ElementsAre(std::pair(StreamOutputType::screen, sink),
                                                     std::pair(StreamOutputType::audio, sink)));
    EXPECT_THAT(service.stream->queues, ElementsAre("tarn.video.recv", "tarn.audio.recv"));
    const auto& wanted = *service.configuration;
    EXPECT_TRUE(wanted.capturesAudio && wanted.excludesCurrentProcessAudio && !wanted.showsCursor);
    EXPECT_THAT((std::vector{wanted.sampleRate, wanted.channelCount, wanted.width, wanted.height}),
                ElementsAre(48000, 2, 2, 2));
    EXPECT_EQ(wanted.minimumFrameInterval, std::chrono::seconds(1));
}

TEST_F(SystemAudioCapture, SaysInTheUsersLanguageWhatIsMissing) {
    const struct {
        const char* language;
        const char* text;
    } cases[] = {
        {"de_DE.UTF-8",
         "App 'org.Film' isn't running or isn't visible. Refresh the app list, or open the app first."},
        {"C", "App 'org.Film' isn't running or isn't visible. Refresh the app list, or open the app first."},
        {"zh_CN.UTF-8", "应用 'org.Film' 未运行或不可见。请刷新应用列表或先打开该应用。"},
    };
    for (const auto& [language, text] : cases) {
        speak(language);
        const auto stream = start("org.Film");
        ASSERT_FALSE(stream);
        EXPECT_EQ(stream.error().description, text);
        EXPECT_EQ(stream.error().domain, "tarn");
        EXPECT_EQ(stream.error().code, 2);
    }
    service.content->displays.clear();
    const auto stream = start("org.Film");
    EXPECT_EQ(stream.error().description, "no display");
    EXPECT_EQ(stream.error().domain, "tarn");
    EXPECT_EQ(stream.error().code, 1);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SystemAudioCapture, PassesOnWhatTheDesktopRefuses) {
    const Result<void> refusal = failure(ErrorKind::unavailable, "refused");
    for (Result<void> test::CaptureStreamStub::* step :
         {&test::CaptureStreamStub::addScreen, &test::CaptureStreamStub::addAudio,
          &test::CaptureStreamStub::start}) {
        service.stream = std::make_shared<test::CaptureStreamStub>();
        (*service.stream).*step = refusal;
        const auto stream = start();
        ASSERT_FALSE(stream);
        EXPECT_EQ(stream.error().description, "refused");
        EXPECT_EQ(service.stream->starts, step == &test::CaptureStreamStub::start ? 1 : 0);
    }
    service.content = failure(ErrorKind::unavailable, "denied");
    EXPECT_EQ(start().error().description, "denied");
    EXPECT_EQ(test::runTask(context, availableAudioApps(service)).error().description, "denied");
}

TEST_F(SystemAudioCapture, ListsEachApplicationOnceInTheOrderOfTheUsersLanguage) {
    service.content->applications = {
        {"1", "beta", 0}, {"2", "Alpha", 0}, {"3", "alpha", 0}, {"1", "Again", 0}, {"", "No id", 0},
        {"4", "", 0},     {"5", "Zebra", 0}, {"6", "Äpfel", 0}, {"7", "ärger", 0}, {"8", "écoute", 0}};
    for (const char* language : {"C", "POSIX", "en_US.UTF-8", "de_DE"}) {
        speak(language);
        EXPECT_THAT(names(), ElementsAre("Alpha", "alpha", "Äpfel", "ärger", "beta", "écoute", "Zebra"))
            << language;
    }
    speak("sv_SE.UTF-8");
    EXPECT_THAT(names(), ElementsAre("Alpha", "alpha", "beta", "écoute", "Zebra", "Äpfel", "ärger"));
    EXPECT_EQ(service.questions.back(), std::pair(false, true));
}

}  // namespace
}  // namespace tarn
