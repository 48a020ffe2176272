// The real program, with a session bus and a keyring of the test's own and the relay as the account server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "TarnPlatform/secrets/SecretServiceStore.h"
#include "support/Blackhole.h"
#include "support/Program.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn::test {
namespace {

namespace asio = boost::asio;
namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class LinkTest : public testing::Test {
protected:
    static std::string binary(const std::string& name) { return std::string(TARN_BIN_DIR) + "/" + name; }

    void startRelay() {
        relay_ =
            std::make_unique<Program>(Program::Setup{{binary("tarn-relay"), "--listen", "127.0.0.1:0",
                                                      "--engine", "script", world_.write("script.jsonl", "")},
                                                     {{"XDG_STATE_HOME", world_.file("state")}}});
        relay_->waitForOutput("\n");
        const std::string mark = "listening on ";
        const auto line = relay_->out();
        const auto from = line.find(mark) + mark.size();
        server_ = line.substr(from, line.find('\n') - from) + "/tarn";
    }

    std::string issueToken() const {
        Program issue({{binary("tarn-relay"), "issue-token", "me@example.org"},
                       {{"XDG_STATE_HOME", world_.file("state")}}});
        EXPECT_EQ(issue.wait(), 0);
        return issue.out().substr(0, issue.out().find('\n'));
    }

    std::unique_ptr<Program> start(std::vector<std::string> arguments,
                                   const std::string& program = "tarn") const {
        arguments.insert(arguments.begin(), program.starts_with('/') ? program : binary(program));
        return std::make_unique<Program>(
            Program::Setup{std::move(arguments),
                           {{"DBUS_SESSION_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS")},
                            {"XDG_RUNTIME_DIR", bus_.folder()},
                            {"XDG_DATA_HOME", world_.file("data")},
                            {"XDG_DATA_DIRS", world_.file("no-browser")},
                            {"XDG_CONFIG_HOME", world_.file("config")},
                            {"TARN_API_URL", server_}}});
    }

    struct Outcome {
        int status = -1;
        std::string said;
        bool operator==(const Outcome&) const = default;
    };
    Outcome open(const std::string& link) const {
        const auto program = start({link});
        return {.status = program->wait(), .said = program->err()};
    }

    /// The program that the session bus starts, once it has its name.
    std::unique_ptr<Program> startService() const {
        auto service = start({"--service"});
        gdbus({"wait", "--session", "--timeout", "20", "com.ostrel.tarn"});
        return service;
    }

    static void gdbus(std::vector<std::string> words) {
        words.insert(words.begin(), "/usr/bin/gdbus");
        Program tool(
            {std::move(words), {{"DBUS_SESSION_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS")}}});
        EXPECT_EQ(tool.wait(), 0) << tool.err();
    }

    static std::string stored(const std::string& account) {
        SecretServiceStore store;
        return store.get({"com.ostrel.tarn", account}).value_or("(error)").value_or("(none)");
    }
    static bool isStoredSoon(const std::string& account, const std::string& value) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (stored(account) != value && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return stored(account) == value;
    }

    PrivateKeyring bus_{PrivateKeyring::Mode::unlocked};
    const TemporaryFolder world_;
    std::unique_ptr<Program> relay_;
    std::string server_ = "http://127.0.0.1:9/tarn";
};

TEST_F(LinkTest, SignsInAndOutWithoutAnotherProgram) {
    startRelay();
    const auto token = issueToken();
    EXPECT_EQ(open("tarn://login?token=" + token + "&user_email=me%40example.org"), (Outcome{0, ""}));
    EXPECT_EQ(stored("pat"), token);
    EXPECT_EQ(stored("user_email"), "me@example.org");
    EXPECT_EQ(open("tarn://logout"), (Outcome{0, ""}));
    EXPECT_EQ(stored("pat") + stored("user_email"), "(none)(none)");
    EXPECT_EQ(open("tarn://logout"), (Outcome{0, ""}));

    EXPECT_EQ(open("TARN://LOGIN?token=" + token).status, 0);
    EXPECT_EQ(stored("pat"), token);
    // The server does not know this one: signed out again.
    EXPECT_EQ(open("tarn://login?token=nobody").status, 0);
    EXPECT_EQ(stored("pat"), "(none)");
}

TEST_F(LinkTest, LeavesNoTokenInTheCommandLineOfWhoStartedIt) {
    const Blackhole silent("127.0.0.1");  // the account's check is under way meanwhile
    server_ = "http://127.0.0.1:" + std::to_string(silent.port()) + "/tarn";
    // A shell that waits for the program with the link, as xdg-open does.
    const auto opener =
        start({"-c", "\"$0\" \"$1\"; echo over", binary("tarn"), "tarn://login?token=abc"}, "/bin/sh");
    opener->waitForOutput("over");
    EXPECT_TRUE(isStoredSoon("pat", "abc"));
    EXPECT_TRUE(isStoredSoon("server", server_.substr(0, server_.rfind('/'))));
}

TEST_F(LinkTest, IgnoresWhatIsNoSignIn) {
    struct Row {
        std::string argument;
        int status;
        std::string said;
    };
    const std::string notOurs =
        "tarn: the arguments are not addresses of the scheme tarn (usage: tarn [tarn://…] or tarn "
        "doctor [--json])\n";
    const Row rows[] = {
        {"tarn://login?token=", 0, ""},
        {"tarn://login?token&user_email=x", 0, ""},
        {"tarn://login?user_email=x", 0, ""},
        {"tarn://open", 0, ""},
        {"tarn://settings?token=abc", 0, "[URLScheme] unknown host: settings\n"},
        {"tarn:", 0, "[URLScheme] unknown host: \n"},
        {"other://login?token=abc", 2, notOurs},
        {"--token=abc", 2, notOurs},
        {"tarn://login?token=a\nb", 2, notOurs},
        {"tarn://login?token=a%0ab", 2, notOurs},
        {"tarn://login?token=ab%00", 2, notOurs},
        {"tarn://login?token=\xff", 2, notOurs},
        {"tarn://login?token=" + std::string(70000, 'x'), 2, notOurs},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(open(row.argument), (Outcome{row.status, row.said})) << row.argument.substr(0, 60);
    }
    EXPECT_EQ(stored("pat") + stored("user_email"), "(none)(none)");
}

TEST_F(LinkTest, HandsOverToTheProgramThatRuns) {
    startRelay();
    const auto token = issueToken();
    const auto service = startService();
    EXPECT_EQ(open("tarn://settings"), (Outcome{0, ""}));
    service->waitForError("[URLScheme] unknown host: settings\n");
    EXPECT_EQ(open("tarn://login?token=" + token), (Outcome{0, ""}));
    EXPECT_TRUE(isStoredSoon("pat", token));

    service->signal(SIGSTOP);
    EXPECT_EQ(open("tarn://logout"),
              (Outcome{1, "[tarn] the link is not carried out: the running program does not answer\n"}));
    service->signal(SIGKILL);
    EXPECT_NE(service->wait(), 0);
    EXPECT_EQ(open("tarn://logout"), (Outcome{0, ""}));
    EXPECT_EQ(stored("pat"), "(none)");
}

TEST_F(LinkTest, ReachesTheCommandLineThatWaits) {
    startRelay();
    const auto token = issueToken();
    // The one link is what a sign-in sends, the others what comes without one.
    const struct {
        std::string link;
        Outcome outcome;
        std::string shown;
    } rows[] = {
        {"tarn://login?token=" + token + "&user_email=me%40example.org",
         {0, ""},
         "signed in as me@example.org\n"},
        // Somebody is signed in by now, but not by this.
        {"tarn://open", {3, "tarn-cli: nobody signed in\n"}, ""},
        {"tarn://logout", {3, "tarn-cli: nobody signed in\n"}, ""},
    };
    for (const auto& row : rows) {
        const auto login = start({"login"}, "tarn-cli");
        login->waitForOutput("/auth?return_to=macos\n");
        EXPECT_EQ(open(row.link), (Outcome{0, ""}));
        EXPECT_EQ(login->wait(), row.outcome.status) << row.link;
        EXPECT_THAT(login->err(), HasSubstr(row.outcome.said));
        EXPECT_THAT(login->out(), EndsWith("/auth?return_to=macos\n" + row.shown));
    }
}

TEST_F(LinkTest, ARefusedTokenIsNoSignInOfTheCommandLine) {
    startRelay();
    const auto token = issueToken();
    const auto service = startService();  // links go there
    EXPECT_EQ(open("tarn://settings"), (Outcome{0, ""}));
    service->waitForError("[URLScheme] unknown host: settings\n");
    ASSERT_TRUE(SecretServiceStore().replace({"com.ostrel.tarn", "pat"}, "refused").has_value());
    const auto login = start({"login"}, "tarn-cli");
    ASSERT_TRUE(isStoredSoon("pat", "(none)"));
    EXPECT_ANY_THROW(login->wait(std::chrono::seconds(2))) << "it took the end of a token for a new one";
    EXPECT_EQ(open("tarn://login?token=" + token), (Outcome{0, ""}));
    EXPECT_EQ(login->wait(), 0) << login->err();
    EXPECT_EQ(stored("pat"), token);
}

TEST_F(LinkTest, AnInterruptEndsACommandLineWhoseKeyringAsksItsUser) {
    ASSERT_TRUE(SecretServiceStore().replace({"com.ostrel.tarn", "pat"}, "abc").has_value());
    bus_.lock();
    PromptOnScreen prompt;
    const auto cli = start({"--input", "-", "--to", "es"}, "tarn-cli");
    prompt.waitUntilUp();
    cli->signal(SIGINT);
    EXPECT_EQ(cli->wait(std::chrono::seconds(5)), 0) << "as an interrupt of a run does: " << cli->err();
}

TEST_F(LinkTest, IsStartedByTheBus) {
    startRelay();
    const auto token = issueToken();
    std::string service = readFile(TARN_SOURCE_DIR "/packaging/com.ostrel.tarn.service.in");
    const std::string folder = "@CMAKE_INSTALL_FULL_BINDIR@";
    service.replace(service.find(folder), folder.size(), TARN_BIN_DIR);
    std::ofstream(bus_.folder() / "services" / "com.ostrel.tarn.service") << service;
    const auto call = [](const std::string& destination, const std::string& path, const std::string& method,
                         std::vector<std::string> arguments) {
        std::vector<std::string> words{"call",          "--session", "--dest",   destination,
                                       "--object-path", path,        "--method", method};
        words.insert(words.end(), arguments.begin(), arguments.end());
        gdbus(std::move(words));
    };
    const auto askBus = [&](const std::string& method, std::vector<std::string> arguments) {
        call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus." + method,
             std::move(arguments));
    };
    askBus("ReloadConfig", {});
    askBus("UpdateActivationEnvironment", {"{'TARN_API_URL': '" + server_ + "'}"});
    call("com.ostrel.tarn", "/com/ostrel/tarn", "org.freedesktop.Application.Open",
         {"['tarn://login?token=" + token + "']", "{}"});
    EXPECT_TRUE(isStoredSoon("pat", token));
    call("com.ostrel.tarn", "/com/ostrel/tarn", "org.freedesktop.Application.Activate", {"{}"});
}

TEST_F(LinkTest, EndsWhenNobodyHasALinkForIt) {
    const auto service = startService();
    EXPECT_EQ(service->wait(), 0);
    EXPECT_EQ(service->err(), "");
}

TEST_F(LinkTest, HidesTheTokenAndGivesUpOnAServerThatDoesNotAnswer) {
    asio::io_context context;
    const asio::ip::tcp::acceptor silent(context, {asio::ip::address_v4::loopback(), 0});
    server_ = "http://127.0.0.1:" + std::to_string(silent.local_endpoint().port()) + "/tarn";
    const std::string token = "0123456789-a-token-of-this-test-only";
    const auto program = start({"tarn://login?token=" + token});
    ASSERT_TRUE(isStoredSoon("pat", token));
    for (const auto& entry : fs::directory_iterator("/proc")) {
        EXPECT_THAT(readFile(entry.path() / "cmdline"), Not(HasSubstr(token))) << entry.path();
    }
    EXPECT_EQ(program->wait(), 0);
    EXPECT_EQ(program->err(), "[tarn] the account server does not answer\n");
    EXPECT_EQ(stored("pat"), token);
}

TEST_F(LinkTest, SaysThatThereIsNoDisplayForItsWindow) {
    const auto program = start({});
    EXPECT_EQ(program->wait(), 1);
    EXPECT_EQ(program->err(),
              "tarn: no display answers (DISPLAY=, WAYLAND_DISPLAY=); tarn-cli works without one\n");
}

}  // namespace
}  // namespace tarn::test
