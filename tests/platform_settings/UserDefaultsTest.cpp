// The settings on a real file of the test's own: what is read back, when it is written, and who else writes.

#include "TarnPlatform/settings/UserDefaults.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

#include "support/LogCapture.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::chrono::hours never{1000};

class UserDefaultsTest : public testing::Test {
protected:
    std::shared_ptr<UserDefaults> open() const { return UserDefaults::open(path_, never); }

    const test::TemporaryFolder folder_;
    const std::string path_ = folder_.file("config/tarn/settings.json");
};

/// Everything that can be asked about a key, in one line.
std::string shown(const UserDefaults& defaults, std::string_view key) {
    std::string text = defaults.contains(key) ? "there" : "none";
    if (const auto value = defaults.string(key)) {
        text += " string " + *value;
    }
    if (const auto value = defaults.integer(key)) {
        text += " integer " + std::to_string(*value);
    }
    if (const auto value = defaults.number(key)) {
        std::array<char, 64> digits{};
        std::snprintf(digits.data(), digits.size(), "%.17g", *value);
        text += std::string(" number ") + digits.data();
    }
    if (const auto value = defaults.boolean(key)) {
        text += *value ? " true" : " false";
    }
    return text;
}

TEST_F(UserDefaultsTest, KeepsTheTypesApartAtOnceAndInTheFile) {
    const std::string odd("日本\n\"\\\0\x01", 11);
    auto defaults = open();
    defaults->set("text", "1.0");
    defaults->set("empty", "");
    defaults->set("odd.key \"é\"", odd);
    defaults->set("zero", 0);
    defaults->set("least", std::numeric_limits<std::int64_t>::min());
    defaults->set("whole", 1.0);
    defaults->set("fraction", -0.05);
    defaults->set("huge", 1e300);
    defaults->set("yes", true);
    defaults->set("no", false);
    defaults->set("gone", 1);
    defaults->remove("gone");
    const std::pair<const char*, std::string> expected[] = {
        {"text", "there string 1.0"},
        {"empty", "there string "},
        {"odd.key \"é\"", "there string " + odd},
        {"zero", "there integer 0 number 0"},
        {"least", "there integer -9223372036854775808 number -9.2233720368547758e+18"},
        {"whole", "there integer 1 number 1"},
        {"fraction", "there number -0.050000000000000003"},
        {"huge", "there number 1.0000000000000001e+300"},
        {"yes", "there true"},
        {"no", "there false"},
        {"gone", "none"},
    };
    for (const bool isReopened : {false, true}) {
        for (const auto& [key, answers] : expected) {
            EXPECT_EQ(shown(*defaults, key), answers) << isReopened;
        }
        defaults.reset();
        defaults = open();
    }
    struct stat status{};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_THAT(test::readFile(path_), HasSubstr("\n  \"whole\": 1.0,\n"));
}

TEST_F(UserDefaultsTest, ReadsEveryFractionBackToFifteenDigits) {
    const auto defaults = open();
    for (int i = 0; i <= 100; ++i) {
        defaults->set(std::to_string(i), i * 0.05);
    }
    ASSERT_TRUE(defaults->synchronize());
    const auto reopened = open();
    for (int i = 0; i <= 100; ++i) {
        EXPECT_NEAR(reopened->number(std::to_string(i)).value(), i * 0.05, i * 0.05 * 5e-15);
    }
}

TEST_F(UserDefaultsTest, TakesAFileThatPeopleWroteAndKeepsWhatItDoesNotKnow) {
    std::filesystem::create_directories(folder_.file("config/tarn"));
    folder_.write(
        "config/tarn/settings.json",
        "{\"null\": null, \"list\": [1.5, {\"a\": \"b\"}], \"big\": 18446744073709551615,\n"
        " \"twice\": 1, \"twice\": 2, \"beyond\": 1e400, \"whole\": 2e3, \"silence\": \"2000\"} \n");
    const auto defaults = open();
    EXPECT_EQ(shown(*defaults, "null"), "none");
    EXPECT_EQ(shown(*defaults, "list"), "there");
    EXPECT_EQ(shown(*defaults, "big"), "there number 1.8446744073709552e+19");
    EXPECT_EQ(shown(*defaults, "twice"), "there integer 2 number 2");
    EXPECT_EQ(shown(*defaults, "beyond"), "there number 1.7976931348623157e+308");
    EXPECT_EQ(shown(*defaults, "whole"), "there integer 2000 number 2000");
    EXPECT_EQ(shown(*defaults, "silence"), "there string 2000");
    defaults->set("new", 1);
    ASSERT_TRUE(defaults->synchronize());
    EXPECT_THAT(test::readFile(path_), HasSubstr("\"list\": [1.5E0,{\"a\":\"b\"}]"));
    EXPECT_EQ(shown(*open(), "beyond"), shown(*defaults, "beyond"))
        << "the file that was written can be read";
}

TEST_F(UserDefaultsTest, RefusesWhatTheFileCouldNotHold) {
    const test::LogCapture log;
    const auto defaults = open();
    defaults->set("rate", 1.5);
    defaults->set("name", "old");
    defaults->set("rate", std::nan(""));
    defaults->set("rate", std::numeric_limits<double>::infinity());
    defaults->set("name", "\xff");
    EXPECT_EQ(defaults->number("rate"), 1.5);
    EXPECT_EQ(defaults->string("name"), "old");
    EXPECT_THAT(log.lines("[settings] "),
                ElementsAre(HasSubstr("\"rate\""), HasSubstr("\"rate\""), HasSubstr("\"name\"")));
}

TEST_F(UserDefaultsTest, WritesManyChangesInOneGoAndByItself) {
    // A file that is written anew is another file while the old one is still there.
    const auto file = [this] {
        struct stat status{};
        return ::stat(path_.c_str(), &status) == 0 ? status.st_ino : 0;
    };
    auto defaults = open();
    for (int i = 0; i < 60; ++i) {
        defaults->set("rate", 0.5 + i / 40.0);
    }
    EXPECT_EQ(file(), 0U);
    EXPECT_TRUE(defaults->synchronize());
    const auto first = file();
    EXPECT_NE(first, 0U);
    EXPECT_TRUE(defaults->synchronize());
    defaults->set("rate", 0.5 + 59 / 40.0);
    EXPECT_TRUE(defaults->synchronize());
    EXPECT_EQ(file(), first) << "nothing has changed";
    defaults->set("last", true);
    defaults.reset();
    EXPECT_NE(file(), first) << "written when it ends";

    const auto quick = UserDefaults::open(path_, std::chrono::milliseconds(1));
    for (const int value : {1, 2}) {
        quick->set("soon", value);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (open()->integer("soon") != value && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        EXPECT_EQ(open()->integer("soon"), value) << "with nobody asking";
    }
}

TEST_F(UserDefaultsTest, LosesNothingWhenProcessesOrThreadsChangeDifferentKeys) {
    const auto key = [](int writer, int number) {
        return "session." + std::to_string(writer) + "." + std::to_string(number);
    };
    {
        // Each object takes a lock of its own on the file, as another process would.
        const std::shared_ptr<UserDefaults> objects[] = {
            UserDefaults::open(path_, std::chrono::milliseconds(0)),
            UserDefaults::open(path_, std::chrono::milliseconds(1))};
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < 4; ++writer) {
            writers.emplace_back([&defaults = *objects[writer / 2], writer, key] {
                for (int number = 0; number < 20; ++number) {
                    defaults.set(key(writer, number), number);
                    EXPECT_EQ(defaults.integer(key(writer, number)), number);
                    EXPECT_TRUE(defaults.synchronize());
                }
            });
        }
        writers.clear();
    }
    const auto defaults = open();
    for (int i = 0; i < 80; ++i) {
        EXPECT_EQ(defaults->integer(key(i / 20, i % 20)), i % 20);
    }
}

TEST_F(UserDefaultsTest, SeesTheOthersChangesOnceItHasWrittenAndKeepsItsOwn) {
    const auto one = open();
    const auto other = open();
    one->set("shared", "one");
    one->set("mine", 1);
    ASSERT_TRUE(one->synchronize());
    other->set("shared", "other");
    other->set("yours", 2);
    EXPECT_FALSE(other->contains("mine"));
    ASSERT_TRUE(other->synchronize());
    EXPECT_EQ(other->integer("mine"), 1);
    one->remove("mine");
    EXPECT_EQ(one->string("shared"), "one");
    ASSERT_TRUE(one->synchronize());
    EXPECT_EQ(one->string("shared"), "other");
    EXPECT_EQ(one->integer("yours"), 2);
    EXPECT_FALSE(open()->contains("mine"));
}

TEST_F(UserDefaultsTest, FollowsALinkToWhereTheFileReallyIs) {
    std::filesystem::create_directories(folder_.file("config/tarn"));
    std::filesystem::create_directories(folder_.file("dotfiles"));
    const auto real = folder_.write("dotfiles/settings.json", "{\"old\": 1}");
    std::filesystem::create_symlink(real, path_);
    const auto defaults = open();
    defaults->set("new", 2);
    ASSERT_TRUE(defaults->synchronize());
    EXPECT_TRUE(std::filesystem::is_symlink(path_));
    EXPECT_THAT(test::readFile(real), HasSubstr("\"old\": 1,\n  \"new\": 2"));
}

TEST_F(UserDefaultsTest, TheStandardOnesAreTheUsersAndAreWrittenAtTheEnd) {
    const std::pair<std::string, std::string> rows[] = {
        {folder_.file("config"), folder_.file("config/tarn/settings.json")},
        {"relative", folder_.file("home/.config/tarn/settings.json")}};
    for (const auto& [configured, path] : rows) {
        ::setenv("XDG_CONFIG_HOME", configured.c_str(), 1);
        ::setenv("HOME", folder_.file("home").c_str(), 1);
        UserDefaults::setStandard(nullptr);
        UserDefaults::standard()->set("value", configured);
        EXPECT_EQ(UserDefaults::standard()->string("value"), configured);
        UserDefaults::setStandard(nullptr);
        EXPECT_EQ(UserDefaults::open(path)->string("value"), configured);
    }
    EXPECT_EXIT(
        {
            UserDefaults::setStandard(open());
            UserDefaults::standard()->set("atExit", true);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(open()->boolean("atExit"), true);
}

}  // namespace
}  // namespace tarn
