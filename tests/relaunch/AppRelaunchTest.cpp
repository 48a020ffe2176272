// Relaunching with a bundle, a shell and an end of the program that the test puts in place, and the real
// shell where it matters what it makes of the script.
#include "TarnApp/relaunch/AppRelaunch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>
#include <cstdio>

#include "TarnApp/session/PermissionSettings.h"
#include "support/ManualClock.h"
#include "support/Program.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class AppRelaunchTest : public testing::Test {
protected:
    AppRelaunchTest() { usePaths("/Applications/Tarn.app", "/Applications/Tarn.app/tarn"); }
    ~AppRelaunchTest() override { AppRelaunch::use({}); }

    void usePaths(const std::string& bundle, const std::string& program) {
        AppRelaunch::use({bundle, program,
                          [this](const std::vector<std::string>& arguments) -> Result<void> {
                              started_.push_back(arguments);
                              return isShellThere_ ? Result<void>()
                                                   : failure(ErrorKind::unavailable, "no shell");
                          },
                          main_.get_executor(), clock_, [this] { ++terminations_; }});
    }
    int terminationsAfter(std::chrono::milliseconds time) {
        main_.restart();
        main_.poll();
        clock_->advance(time);
        main_.restart();
        main_.poll();
        return terminations_;
    }

    asio::io_context main_;
    std::shared_ptr<test::ManualClock> clock_ = std::make_shared<test::ManualClock>();
    std::vector<std::vector<std::string>> started_;
    bool isShellThere_ = true;
    int terminations_ = 0;
};

TEST_F(AppRelaunchTest, StartsTheSuccessorAndThenEndsThisProcess) {
    EXPECT_TRUE(AppRelaunch::relaunch());
    const std::string script =
        "while kill -0 " + std::to_string(::getpid()) +
        " 2>/dev/null; do sleep 0.2; done\n/usr/bin/open -n \"/Applications/Tarn.app\"";
    EXPECT_THAT(started_, ElementsAre(ElementsAre("/bin/sh", "-c", script)));
    EXPECT_EQ(terminationsAfter(199ms), 0);
    EXPECT_EQ(terminationsAfter(1ms), 1);
    EXPECT_EQ(terminationsAfter(10s), 1);
}

TEST_F(AppRelaunchTest, GoesOnWhereThereIsNoShell) {
    isShellThere_ = false;
    EXPECT_FALSE(AppRelaunch::relaunch());
    EXPECT_EQ(terminationsAfter(10s), 0);
}

TEST_F(AppRelaunchTest, StartsTheExecutableOutsideABundle) {
    for (const std::string path : {"/usr/bin", "", "/opt/Tarn.app/", "/opt/Tarn.apps", "/opt/tarn.APP"}) {
        usePaths(path, path + "/tarn");
        EXPECT_TRUE(AppRelaunch::relaunch());
        EXPECT_THAT(started_.back().back(), testing::EndsWith("\nexec \"" + path + "/tarn\""));
    }
    EXPECT_EQ(terminationsAfter(200ms), 5);
    usePaths("/usr/bin", "");
    EXPECT_FALSE(AppRelaunch::relaunch()) << "nobody knows what to start";
    EXPECT_EQ(started_.size(), 5U);
}

TEST_F(AppRelaunchTest, FindsTheBundleAroundTheExecutable) {
    const std::array<std::array<std::string, 2>, 6> cases{{
        {"/opt/Tarn.app/tarn", "/opt/Tarn.app"},
        {"/opt/Tarn.app/bin/tarn", "/opt/Tarn.app"},
        {"/opt/Tarn.app/Contents/MacOS/tarn", "/opt/Tarn.app"},
        {"/usr/bin/tarn", "/usr/bin"},
        {"/home/ada/tarn.app/build/release/bin/tarn", "/home/ada/tarn.app/build/release/bin"},
        {"", ""},
    }};
    for (const auto& [executable, bundle] : cases) {
        EXPECT_EQ(AppRelaunch::bundlePathOf(executable), bundle);
    }
}

TEST_F(AppRelaunchTest, NamesThePathToTheShellAsItIs) {
    for (const std::string path :
         {R"(/A b.app)", R"(/"; echo $HOME `id` \" \\.app)", "/$(exit 1)\n'x'.app", "/听.app"}) {
        const std::string script = AppRelaunch::script(::getpid(), "printf %s", path);
        test::Program shell({.arguments = {"/bin/sh", "-c", script.substr(script.find('\n') + 1)}});
        EXPECT_EQ(shell.wait(), 0) << path;
        EXPECT_EQ(shell.out(), path);
    }
}

TEST_F(AppRelaunchTest, TheSuccessorWaitsForTheEndAndOutlivesIt) {
    const test::TemporaryFolder folder;
    const auto path = folder.file("news");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const int news = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    const auto heard = [news](int milliseconds) {
        pollfd wait{news, POLLIN, 0};
        char byte = 0;
        return ::poll(&wait, 1, milliseconds) == 1 && ::read(news, &byte, 1) == 1;
    };
    int hold[2];
    ASSERT_EQ(::pipe(hold), 0);
    {
        const auto predecessor = ::fork();
        if (predecessor == 0) {
            ::close(hold[1]);
            const std::string script = AppRelaunch::script(::getpid(), "echo >", path);
            const auto parts = AppRelaunch::Surroundings::real({}, nullptr);
            const bool started = parts.start({"/bin/sh", "-c", script}).has_value();
            char byte = 0;
            ::_exit(started && ::read(hold[0], &byte, 1) == 0 ? 0 : 1);
        }
        EXPECT_FALSE(heard(500)) << "before its predecessor was gone";
        ::close(hold[1]);
        int status = -1;
        EXPECT_EQ(::waitpid(predecessor, &status, 0), predecessor);
        EXPECT_EQ(status, 0);
    }
    EXPECT_TRUE(heard(20000));
    ::close(hold[0]);
    ::close(news);
}

TEST(ScreenRecordingPermissionTest, OpensTheSettingsPage) {
    class Opener final : public UrlOpener {
    public:
        bool open(const std::string& url) override {
            opened.push_back(url);
            return true;
        }
        std::vector<std::string> opened;
    } opener;
    ScreenRecordingPermission::openSettings(opener);
    EXPECT_THAT(opener.opened,
                ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"));
}

}  // namespace
}  // namespace tarn
