// Relaunching with a bundle, a shell and an end of the program that the test puts in place, and the real
// shell where it matters what it makes of the script.
#include "TarnApp/relaunch/AppRelaunch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>

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

}  // namespace
}  // namespace tarn
