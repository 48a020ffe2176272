// The settings on a real file of the test's own: what is read back, when it is written, and who else writes.

#include "TarnPlatform/settings/UserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

#include "support/ForkedChild.h"
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
    for (const bool isReopened : {false, true}) {
        SCOPED_TRACE(isReopened);
        EXPECT_EQ(shown(*defaults, "text"), "there string 1.0");
        EXPECT_EQ(shown(*defaults, "empty"), "there string ");
        EXPECT_EQ(shown(*defaults, "odd.key \"é\""), "there string " + odd);
        EXPECT_EQ(shown(*defaults, "zero"), "there integer 0 number 0");
        EXPECT_EQ(shown(*defaults, "least"),
                  "there integer -9223372036854775808 number -9.2233720368547758e+18");
        EXPECT_EQ(shown(*defaults, "whole"), "there integer 1 number 1");
        EXPECT_EQ(shown(*defaults, "fraction"), "there number -0.050000000000000003");
        EXPECT_EQ(shown(*defaults, "huge"), "there number 1.0000000000000001e+300");
        EXPECT_EQ(shown(*defaults, "yes"), "there true");
        EXPECT_EQ(shown(*defaults, "no"), "there false");
        EXPECT_EQ(shown(*defaults, "gone"), "none");
        defaults.reset();
        defaults = open();
    }
    struct stat status{};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_THAT(test::readFile(path_), HasSubstr("\n  \"whole\": 1.0,\n"));
}

TEST_F(UserDefaultsTest, ReadsEveryFractionBackToTheLastDigit) {
    std::vector<double> values;
    for (int i = 0; i <= 300; ++i) {
        values.insert(values.end(), {i * 0.05, i * 0.1, std::sqrt(i) * 1e-7});
    }
    auto defaults = open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        defaults->set(std::to_string(i), values[i]);
    }
    ASSERT_TRUE(defaults->synchronize());
    const auto reopened = open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(reopened->number(std::to_string(i)), values[i]);
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

/// Counts how often a file of that name is put into a folder.
class Replacements {
public:
    explicit Replacements(const std::string& folder) {
        ::inotify_add_watch(inotify_, folder.c_str(), IN_MOVED_TO);
    }
    ~Replacements() { ::close(inotify_); }
    Replacements(const Replacements&) = delete;
    Replacements& operator=(const Replacements&) = delete;

    int soFar(std::chrono::milliseconds limit = {}) {
        pollfd waiting{inotify_, POLLIN, 0};
        ::poll(&waiting, 1, static_cast<int>(limit.count()));
        alignas(inotify_event) std::array<char, 65536> events{};
        const auto got = ::read(inotify_, events.data(), events.size());
        for (ssize_t at = 0; at < got;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(events.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            ++count_;
        }
        return count_;
    }

private:
    const int inotify_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    int count_ = 0;
};

TEST_F(UserDefaultsTest, WritesManyChangesInOneGoAndByItself) {
    std::filesystem::create_directories(folder_.file("config/tarn"));
    Replacements replacements(folder_.file("config/tarn"));
    {
        const auto defaults = open();
        for (int i = 0; i < 60; ++i) {
            defaults->set("rate", 0.5 + i / 40.0);
        }
        EXPECT_EQ(replacements.soFar(), 0);
        EXPECT_TRUE(defaults->synchronize());
        EXPECT_EQ(replacements.soFar(), 1);
        EXPECT_TRUE(defaults->synchronize());
        defaults->set("rate", 0.5 + 59 / 40.0);
        EXPECT_TRUE(defaults->synchronize());
        EXPECT_EQ(replacements.soFar(), 1) << "nothing has changed";
        defaults->set("last", true);
    }
    EXPECT_EQ(replacements.soFar(), 2) << "written when it ends";

    const auto quick = UserDefaults::open(path_, std::chrono::milliseconds(1));
    quick->set("soon", 1);
    EXPECT_EQ(replacements.soFar(std::chrono::seconds(30)), 3) << "with nobody asking";
    quick->set("soon", 2);
    EXPECT_EQ(replacements.soFar(std::chrono::seconds(30)), 4);
    EXPECT_EQ(open()->integer("soon"), 2);
}

TEST_F(UserDefaultsTest, LosesNothingBetweenProcessesThatChangeDifferentKeys) {
    constexpr int processes = 4;
    constexpr int keys = 20;
    std::vector<std::unique_ptr<test::ForkedChild>> children;
    for (int child = 0; child < processes; ++child) {
        children.push_back(std::make_unique<test::ForkedChild>([this, child] {
            const auto defaults = UserDefaults::open(path_, std::chrono::milliseconds(1));
            for (int key = 0; key < keys; ++key) {
                defaults->set("session." + std::to_string(child) + "." + std::to_string(key), key);
                if (!defaults->synchronize()) {
                    return std::string("not stored");
                }
            }
            return std::string();
        }));
    }
    for (auto& child : children) {
        EXPECT_EQ(child->result(), "");
    }
    const auto defaults = open();
    for (int child = 0; child < processes; ++child) {
        for (int key = 0; key < keys; ++key) {
            EXPECT_EQ(defaults->integer("session." + std::to_string(child) + "." + std::to_string(key)), key);
        }
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

TEST_F(UserDefaultsTest, ServesSeveralThreadsWhileItWrites) {
    const auto defaults = UserDefaults::open(path_, std::chrono::milliseconds(0));
    {
        std::vector<std::jthread> threads;
        for (const std::string name : {"one", "two", "three"}) {
            threads.emplace_back([&defaults, name] {
                for (int i = 0; i < 200; ++i) {
                    defaults->set(name, i);
                    defaults->set("shared", name);
                    EXPECT_EQ(defaults->integer(name), i);
                    EXPECT_TRUE(defaults->string("shared"));
                }
                EXPECT_TRUE(defaults->synchronize());
            });
        }
    }
    EXPECT_EQ(open()->integer("two"), 199);
    EXPECT_EQ(open()->string("shared"), defaults->string("shared"));
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
    struct Row {
        std::string configured;
        std::string path;
    };
    const Row rows[] = {{folder_.file("config"), folder_.file("config/tarn/settings.json")},
                        {"", folder_.file("home/.config/tarn/settings.json")},
                        {"relative", folder_.file("home/.config/tarn/settings.json")}};
    for (const auto& row : rows) {
        ::setenv("XDG_CONFIG_HOME", row.configured.c_str(), 1);
        ::setenv("HOME", folder_.file("home").c_str(), 1);
        UserDefaults::setStandard(nullptr);
        UserDefaults::standard()->set("value", row.configured);
        EXPECT_EQ(UserDefaults::standard()->string("value"), row.configured);
        UserDefaults::setStandard(nullptr);
        EXPECT_EQ(UserDefaults::open(row.path)->string("value"), row.configured);
    }
    test::ForkedChild child([this]() -> std::string {
        UserDefaults::setStandard(open());
        UserDefaults::standard()->set("atExit", true);
        std::exit(0);
    });
    EXPECT_EQ(child.result(), "");
    EXPECT_EQ(open()->boolean("atExit"), true);
}

}  // namespace
}  // namespace tarn
