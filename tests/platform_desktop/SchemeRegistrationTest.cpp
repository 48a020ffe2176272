// The desktop is asked by its own tool (gio) in a home of the test's own.
#include "TarnPlatform/desktop/SchemeRegistration.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "support/Program.h"

namespace tarn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class SchemeRegistrationTest : public testing::Test {
protected:
    std::map<std::string, std::string> environment() const {
        return {{"HOME", home_.path()},
                {"XDG_DATA_HOME", home_.file("data")},
                {"XDG_CONFIG_HOME", home_.file("config")},
                {"XDG_DATA_DIRS", home_.file("system")},
                {"XDG_CONFIG_DIRS", home_.file("etc")}};
    }
    std::string ensure(const std::string& program) const {
        return run({TARN_BIN_DIR "/registerscheme", program});
    }
    /// What the desktop opens addresses of the scheme with.
    std::string handlers() const { return run({"/usr/bin/gio", "mime", "x-scheme-handler/tarn"}); }
    std::string run(std::vector<std::string> words) const {
        test::Program program({.arguments = std::move(words), .environment = environment()});
        program.wait();
        return program.out() + program.err();
    }
    /// A program that writes its arguments, one a line, into a file.
    std::string makeProgram(const std::string& name) const {
        fs::create_directories(fs::path(home_.file(name)).parent_path());
        return home_.writeProgram(name, "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" + home_.file("called.new") +
                                            "\"\nmv \"" + home_.file("called.new") + "\" \"" +
                                            home_.file("called") + "\"\n");
    }
    void makeFolder(const std::string& name) const { fs::create_directories(home_.file(name)); }
    std::string ours() const { return home_.file("data/applications/com.example.probe-links.desktop"); }

    const test::TemporaryFolder home_;
};

TEST_F(SchemeRegistrationTest, RegistersOnceAndFollowsAProgramThatMoved) {
    const auto program = makeProgram("bin/probe");
    EXPECT_EQ(ensure(program), "registered\n");
    EXPECT_THAT(handlers(), HasSubstr("com.example.probe-links.desktop"));
    const auto written = fs::last_write_time(ours());
    EXPECT_EQ(ensure(program), "already handled\n");
    EXPECT_EQ(fs::last_write_time(ours()), written);

    const auto elsewhere = makeProgram("other/probe");
    EXPECT_EQ(ensure(elsewhere), "registered\n");  // while the old one is still there
    EXPECT_THAT(test::readFile(ours()), HasSubstr(elsewhere));
    fs::remove(elsewhere);
    EXPECT_EQ(ensure(program), "registered\n");
    EXPECT_THAT(handlers(), HasSubstr("com.example.probe-links.desktop"));
}

TEST_F(SchemeRegistrationTest, LeavesAnotherHandlerAlone) {
    const auto program = makeProgram("bin/probe");
    makeFolder("system/applications");
    home_.write("system/applications/installed.desktop",
                "[Desktop Entry]\nType=Application\nName=Installed\nExec=" + program +
                    " %u\nMimeType=x-scheme-handler/tarn;\n");
    home_.write("system/applications/mimeinfo.cache",
                "[MIME Cache]\nx-scheme-handler/tarn=installed.desktop;\n");
    EXPECT_EQ(ensure(makeProgram("mine/probe")), "already handled\n");
    EXPECT_FALSE(fs::exists(ours()));
    // A handler whose program is gone does not count.
    fs::remove(program);
    EXPECT_EQ(ensure(home_.file("mine/probe")), "registered\n");
}

TEST_F(SchemeRegistrationTest, KeepsTheUsersOtherChoices) {
    makeFolder("config");
    home_.write("config/mimeapps.list", "[Default Applications]\ntext/plain=editor.desktop\n");
    EXPECT_EQ(ensure(makeProgram("bin/probe")), "registered\n");
    EXPECT_THAT(test::readFile(home_.file("config/mimeapps.list")), HasSubstr("text/plain=editor.desktop"));
}

TEST_F(SchemeRegistrationTest, PassesTheWholeAddressToAProgramWithAnUnusualName) {
    ASSERT_EQ(ensure(makeProgram(R"(a b/it's "$HOME" \ `x`)")), "registered\n");
    const std::string url = "tarn://login?token=a%20b&user_email=u%40example.org";
    EXPECT_EQ(run({"/usr/bin/gio", "open", url}), "");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!fs::exists(home_.file("called")) && std::chrono::steady_clock::now() < deadline) {
        run({"/bin/true"});
    }
    EXPECT_EQ(test::readFile(home_.file("called")), url + "\n");
}

TEST_F(SchemeRegistrationTest, SaysWhyItCannotAndLeavesNothingBehind) {
    const auto data = home_.write("data", "a file where the folder should be");
    EXPECT_THAT(ensure(makeProgram("bin/probe")), HasSubstr("failed: "));
    fs::remove(data);
    for (const auto* const program : {"relative/probe", "/two\nlines"}) {
        EXPECT_THAT(ensure(program), HasSubstr("failed: a desktop entry cannot name")) << program;
    }
    for (const auto& program : {home_.file("missing"), makeProgram("100%/probe")}) {
        EXPECT_THAT(ensure(program), HasSubstr("failed: the desktop does not take")) << program;
    }
    EXPECT_FALSE(fs::exists(ours()));
    EXPECT_FALSE(fs::exists(home_.file("config/mimeapps.list")));
}

}  // namespace
}  // namespace tarn
