// Settings files that cannot be read or written. What must hold each time: the program goes on with the
// defaults or in memory, says so once, and what was in the file can still be had.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "TarnPlatform/settings/UserDefaults.h"
#include "support/LogCapture.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::hours never{1000};

class UserDefaultsFaultTest : public testing::Test {
protected:
    std::shared_ptr<UserDefaults> open() const { return UserDefaults::open(path_, never); }

    const test::TemporaryFolder folder_;
    const std::string path_ = folder_.file("settings.json");
};

TEST_F(UserDefaultsFaultTest, KeepsEveryDamagedFileBesideTheNewOne) {
    const std::pair<std::string, const char*> damages[] = {
        {"", "is empty"},
        {"{\"rate\": 1.5, \"mode\": \"so", "is not valid JSON"},
        {"{\"rate\": 1.5} {}", "is not valid JSON"},
        {"{\"rate\": \"\xff\"}", "is not valid JSON"},
        {std::string(1000000, '['), "is not valid JSON"},
        {"[{\"rate\": 1.5}]", "does not hold a JSON object"},
        {"{\"long\": \"" + std::string(1100000, 'x') + "\"}", "is too long"},
    };
    int number = 0;
    for (const auto& [damage, says] : damages) {
        SCOPED_TRACE(damage.substr(0, 30));
        const std::string kept = path_ + ".damaged" + (++number == 1 ? "" : "-" + std::to_string(number));
        folder_.write("settings.json", damage);
        const test::LogCapture log;
        const auto defaults = open();
        EXPECT_FALSE(defaults->contains("rate"));
        EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr("[settings] " + path_), HasSubstr(says))));
        EXPECT_TRUE(defaults->synchronize());
        EXPECT_EQ(test::readFile(path_), damage) << "reading changes nothing";

        defaults->set("rate", 2.0);
        EXPECT_TRUE(defaults->synchronize());
        EXPECT_EQ(test::readFile(kept), damage);
        EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(says), HasSubstr("kept as " + kept)));
        EXPECT_EQ(open()->number("rate"), 2.0);
        EXPECT_EQ(log.lines().size(), 2U);
    }
}

TEST_F(UserDefaultsFaultTest, WritesAllItKnowsWhereTheFileWasDamagedOrRemovedMeanwhile) {
    const auto defaults = open();
    defaults->set("kept", "long ago");
    ASSERT_TRUE(defaults->synchronize());
    folder_.write("settings.json", "{\"typing");
    defaults->set("rate", 2.0);
    EXPECT_TRUE(defaults->synchronize());
    EXPECT_EQ(test::readFile(path_ + ".damaged"), "{\"typing");
    EXPECT_EQ(open()->string("kept"), "long ago");
    std::filesystem::remove(path_);
    defaults->set("rate", 3.0);
    EXPECT_TRUE(defaults->synchronize());
    EXPECT_EQ(open()->string("kept"), "long ago");
}

/// What the system refuses.
struct Refusal {
    const char* what;
    const char* of;  ///< below the test's folder
    mode_t mode;     ///< with S_IFIFO a pipe takes the file's place
    bool isReadable;
};

const Refusal refusals[] = {
    {"a file that may not be read", "/settings.json", 0, false},
    {"a read-only file", "/settings.json", 0400, true},
    {"a read-only folder", "", 0500, true},
    {"a pipe in its place", "/settings.json", S_IFIFO, false},
};

/// Runs in a process of its own, as a user whom permissions bind.
void livesThrough(const Refusal& refusal) {
    constexpr unsigned nobody = 65534;
    ASSERT_TRUE(::geteuid() != 0 || (::setgid(nobody) == 0 && ::setuid(nobody) == 0));
    const test::TemporaryFolder folder;
    const auto path = folder.write("settings.json", "{\"precious\": 1}");
    const auto refused = folder.path() + refusal.of;
    const test::LogCapture log;
    if (refusal.mode == S_IFIFO) {
        std::filesystem::rename(path, path + ".real");
        ::mkfifo(path.c_str(), 0600);
    } else {
        ::chmod(refused.c_str(), refusal.mode);
    }
    const auto defaults = UserDefaults::open(path, never);
    EXPECT_EQ(defaults->contains("precious"), refusal.isReadable);
    for (int i = 0; i < 3; ++i) {
        defaults->set("rate", i);
        EXPECT_FALSE(defaults->synchronize()) << "stored against the system's will";
        EXPECT_EQ(defaults->integer("rate"), i);
    }
    EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr("[settings] "), HasSubstr(folder.path()))));
    if (refusal.mode == S_IFIFO) {
        std::filesystem::rename(path + ".real", path);
    } else {
        ::chmod(refused.c_str(), 0700);
    }
    EXPECT_EQ(test::readFile(path), "{\"precious\": 1}");
    EXPECT_TRUE(defaults->synchronize());
    const auto later = UserDefaults::open(path, never);
    EXPECT_EQ(later->integer("precious"), 1);
    EXPECT_EQ(later->integer("rate"), 2);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
        << "other files than the settings and their lock";
}

TEST_F(UserDefaultsFaultTest, GoesOnInMemoryWhereTheSystemRefusesAndStoresItLater) {
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        EXPECT_EXIT(
            {
                livesThrough(refusal);
                std::_Exit(HasFailure() ? 1 : 0);
            },
            testing::ExitedWithCode(0), "");
    }
}

TEST_F(UserDefaultsFaultTest, SaysNothingWhereThereIsNoFileYet) {
    const test::LogCapture log;
    EXPECT_FALSE(open()->contains("rate"));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(path_)) << "reading writes nothing";
}

}  // namespace
}  // namespace tarn
