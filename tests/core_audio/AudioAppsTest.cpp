#include "TarnCore/audio/AudioApps.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "support/RunTask.h"

namespace tarn {
namespace {

struct GivenContent : CaptureService {
    ShareableContent content;

    Task<Result<ShareableContent>> getShareableContent(bool, bool) override { co_return content; }
    std::shared_ptr<CaptureStream> makeStream(const ContentFilter&, const StreamConfiguration&,
                                              std::weak_ptr<StreamDelegate>) override {
        return nullptr;
    }
};

TEST(AudioApps, ListEachApplicationOnceInTheOrderOfTheUsersLanguage) {
    GivenContent service;
    service.content.applications = {
        {"1", "beta", 0}, {"2", "Alpha", 0}, {"3", "alpha", 0}, {"1", "Again", 0}, {"", "No id", 0},
        {"4", "", 0},     {"5", "Zebra", 0}, {"6", "Äpfel", 0}, {"7", "ärger", 0}, {"8", "écoute", 0}};
    const std::pair<const char*, const char*> cases[] = {
        {"POSIX", "Alpha alpha Äpfel ärger beta écoute Zebra "},
        {"de_DE", "Alpha alpha Äpfel ärger beta écoute Zebra "},
        {"sv_SE.UTF-8", "Alpha alpha beta écoute Zebra Äpfel ärger "}};
    ::unsetenv("LANGUAGE");
    for (const auto& [language, names] : cases) {
        ::setenv("LC_ALL", language, 1);
        asio::io_context context{1};
        const auto apps = test::runTask(context, availableAudioApps(service));
        std::string listed;
        for (const auto& app : apps.value()) {
            listed += app.name + " ";
        }
        EXPECT_EQ(listed, names) << language;
    }
}

}  // namespace
}  // namespace tarn
