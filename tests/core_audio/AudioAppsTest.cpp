// The list of applications, and captures that the desktop refuses, with content that the test gives.

#include "TarnCore/audio/SystemAudioCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "TarnCore/audio/AudioApps.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

using testing::ElementsAre;

struct GivenContent : CaptureService {
    Result<ShareableContent> content;

    Task<Result<ShareableContent>> getShareableContent(bool, bool) override { co_return content; }
    std::shared_ptr<CaptureStream> makeStream(const ContentFilter&, const StreamConfiguration&,
                                              std::weak_ptr<StreamDelegate>) override {
        return nullptr;
    }
};

struct SystemAudioCapture : testing::Test {
    static void speak(const char* language) {
        ::unsetenv("LANGUAGE");
        ::setenv("LC_ALL", language, 1);
    }

    asio::io_context context{1};
    GivenContent service;
};

TEST_F(SystemAudioCapture, SaysInTheUsersLanguageWhatIsMissing) {
    service.content = ShareableContent{{{3, "Loudspeaker"}}, {{"org.film", "Film", 6}}};
    for (const auto& [language, text] :
         {std::pair{"de_DE.UTF-8",
                    "App 'org.Film' isn't running or isn't visible. Refresh the app list, or open the app "
                    "first."},
          {"zh_CN.UTF-8", "应用 'org.Film' 未运行或不可见。请刷新应用列表或先打开该应用。"}}) {
        speak(language);
        const auto stream = test::runTask(
            context, startSystemAudioCapture(std::make_shared<AudioSink>(), "org.Film", service));
        ASSERT_FALSE(stream);
        EXPECT_EQ(stream.error().description, text);
        EXPECT_EQ(stream.error().domain + std::to_string(stream.error().code), "tarn2");
    }
    service.content = failure(ErrorKind::unavailable, "denied");
    EXPECT_EQ(test::runTask(context, startSystemAudioCapture(std::make_shared<AudioSink>(), {}, service))
                  .error()
                  .description,
              "denied");
}

TEST_F(SystemAudioCapture, ListsEachApplicationOnceInTheOrderOfTheUsersLanguage) {
    service.content->applications = {
        {"1", "beta", 0}, {"2", "Alpha", 0}, {"3", "alpha", 0}, {"1", "Again", 0}, {"", "No id", 0},
        {"4", "", 0},     {"5", "Zebra", 0}, {"6", "Äpfel", 0}, {"7", "ärger", 0}, {"8", "écoute", 0}};
    const auto names = [&](const char* language) {
        speak(language);
        std::vector<std::string> listed;
        const auto apps = test::runTask(context, availableAudioApps(service));
        for (const auto& app : apps.value()) {
            listed.push_back(app.name);
        }
        return listed;
    };
    for (const char* language : {"POSIX", "de_DE"}) {
        EXPECT_THAT(names(language),
                    ElementsAre("Alpha", "alpha", "Äpfel", "ärger", "beta", "écoute", "Zebra"))
            << language;
    }
    EXPECT_THAT(names("sv_SE.UTF-8"),
                ElementsAre("Alpha", "alpha", "beta", "écoute", "Zebra", "Äpfel", "ärger"));
    service.content = failure(ErrorKind::unavailable, "denied");
    EXPECT_EQ(test::runTask(context, availableAudioApps(service)).error().description, "denied");
}

}  // namespace
}  // namespace tarn
