// Settings files that cannot be read or written. What must hold each time: the program goes on with the
// defaults or in memory, says so once, and what was in the file can still be had.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "TarnPlatform/settings/UserDefaults.h"
#include "support/ForkedChild.h"
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
        {"{\"rate\": 1.5,}", "is not valid JSON"},
        {"{\"rate\": \"\xff\"}", "is not valid JSON"},
        {"rate = 1.5", "is not valid JSON"},
        {std::string(64, '\0'), "is not valid JSON"},
        {std::string(1000000, '['), "is not valid JSON"},
        {"[{\"rate\": 1.5}]", "does not hold a JSON object"},
        {"1.5\n", "does not hold a JSON object"},
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

/// A file or folder that the system refuses, and what undoes it.
struct Refusal {
    const char* what;
    std::function<void(const std::string& folder, const std::string& path)> begin;
    std::function<void(const std::string& folder, const std::string& path)> end;
    bool isReadable;
};

const Refusal refusals[] = {
    {"a file that may not be read", [](auto&, auto& path) { ::chmod(path.c_str(), 0); },
     [](auto&, auto& path) { ::chmod(path.c_str(), 0600); }, false},
    {"a read-only file", [](auto&, auto& path) { ::chmod(path.c_str(), 0400); },
     [](auto&, auto& path) { ::chmod(path.c_str(), 0600); }, true},
    {"a folder that may not be entered", [](auto& folder, auto&) { ::chmod(folder.c_str(), 0); },
     [](auto& folder, auto&) { ::chmod(folder.c_str(), 0700); }, false},
    {"a read-only folder", [](auto& folder, auto&) { ::chmod(folder.c_str(), 0500); },
     [](auto& folder, auto&) { ::chmod(folder.c_str(), 0700); }, true},
    {"a full disk",
     [](auto&, auto&) {
         std::signal(SIGXFSZ, SIG_IGN);
         const rlimit full{0, RLIM_INFINITY};
         ::setrlimit(RLIMIT_FSIZE, &full);
     },
     [](auto&, auto&) {
         const rlimit free{RLIM_INFINITY, RLIM_INFINITY};
         ::setrlimit(RLIMIT_FSIZE, &free);
     },
     true},
    {"a pipe in its place",
     [](auto&, auto& path) {
         std::filesystem::rename(path, path + ".real");
         ::mkfifo(path.c_str(), 0600);
     },
     [](auto&, auto& path) { std::filesystem::rename(path + ".real", path); }, false},
    {"a folder in its place",
     [](auto&, auto& path) {
         std::filesystem::rename(path, path + ".real");
         ::mkdir(path.c_str(), 0700);
     },
     [](auto&, auto& path) {
         ::rmdir(path.c_str());
         std::filesystem::rename(path + ".real", path);
     },
     false},
};

/// Lives through a refusal as one whom permissions bind; what went wrong, a line each.
std::string complaintsAbout(const Refusal& refusal) {
    const test::TemporaryFolder folder;
    const auto path = folder.write("settings.json", "{\"precious\": 1}");
    std::string complaints;
    const auto expect = [&](bool isTrue, const std::string& what) {
        if (!isTrue) {
            complaints += what + "\n";
        }
    };
    const test::LogCapture log;
    refusal.begin(folder.path(), path);
    const auto defaults = UserDefaults::open(path, never);
    expect(defaults->contains("precious") == refusal.isReadable, "what was read");
    for (int i = 0; i < 3; ++i) {
        defaults->set("rate", i);
        expect(!defaults->synchronize(), "stored against the system's will");
        expect(defaults->integer("rate") == i, "forgot its own value");
    }
    const auto lines = log.lines();
    expect(lines.size() == 1, "said " + std::to_string(lines.size()) + " times");
    for (const auto& line : lines) {
        expect(line.starts_with("[settings] ") && line.contains(folder.path()), line);
    }
    refusal.end(folder.path(), path);
    expect(test::readFile(path) == "{\"precious\": 1}", "the file has changed: " + test::readFile(path));
    expect(defaults->synchronize(), "not stored when it could be");
    const auto later = UserDefaults::open(path, never);
    expect(later->integer("precious") == 1, "lost what was in the file");
    expect(later->integer("rate") == 2, "lost what was set");
    const auto left = std::distance(std::filesystem::directory_iterator(folder.path()), {});
    expect(left == 2, "other files than the settings and their lock: " + std::to_string(left));
    return complaints;
}

TEST_F(UserDefaultsFaultTest, GoesOnInMemoryWhereTheSystemRefusesAndStoresItLater) {
    for (const auto& refusal : refusals) {
        test::ForkedChild child([&refusal] {
            test::dropPrivileges();
            return complaintsAbout(refusal);
        });
        EXPECT_EQ(child.result(), "") << refusal.what;
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
