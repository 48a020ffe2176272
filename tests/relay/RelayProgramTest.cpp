// The real program as its users start it: what it prints, how it ends.

#include "RelayProgram.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <string>

#include "platform_net_server/RawPeer.h"

namespace tarn::test {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

class RelayProgramTest : public testing::Test {
protected:
    std::string writeScript(const std::string& text) { return state_.write("script.jsonl", text); }

    /// Starts it on a port of its own; returns the port that it printed.
    std::uint16_t start() {
        program_ = startRelay(state_, {"--listen", "127.0.0.1:0", "--engine", "script",
                                       writeScript(R"({"t":0,"raw":"played"})")});
        const auto line = program_->readUntil('\n', 200, soon()).value_or("");
        EXPECT_THAT(line, MatchesRegex("listening on http://127\\.0\\.0\\.1:[0-9]+"));
        return static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)));
    }

    TemporaryFolder state_;
    std::unique_ptr<ChildProcess> program_;
};

TEST_F(RelayProgramTest, ServesUntilItIsToldToEndAndSaysGoodbyeToItsClients) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const auto port = start();
        auto token = runRelay(state_, {"issue-token", "ada@example.org"}).output;
        token.resize(43);
        {
            RawPeer peer(port);
            ASSERT_THAT(peer.upgrade("/tarn/ws/translate-stream?target=es",
                                     "Authorization: Bearer " + token + "\r\n"),
                        StartsWith("HTTP/1.1 101"));
            peer.sendFrame(textFrame, "{}");
            EXPECT_EQ(peer.readFrame().payload, "played");
            ::kill(program_->id(), signal);
            EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 1001);
            peer.sendFrame(closeFrame, "\x03\xe9");
            EXPECT_EQ(peer.readToEnd(), "");
        }
        EXPECT_EQ(program_->ending(soon()), "ended with status 0");
        EXPECT_EQ(program_->readToEnd(1000, soon()).value_or("?"), "");
    }
}

/// Opens what `socket` says as descriptor 3, prints its port, and becomes the relay once it reads a line.
std::unique_ptr<ChildProcess> startPassing(const TemporaryFolder& state, const std::string& socket,
                                           const std::string& count, const std::string& process,
                                           const std::string& script) {
    const std::string opening =
        "import os, socket, sys\n"
        "s = " +
        socket +
        "\n"
        "print(s.getsockname()[1] if hasattr(s, 'getsockname') else 0, flush=True)\n"
        "sys.stdin.readline()\n"
        "os.dup2(s.fileno(), 3) if s.fileno() != 3 else os.set_inheritable(3, True)\n"
        "os.environ['LISTEN_PID'] = str(" +
        process +
        ")\n"
        "os.execv(sys.argv[1], sys.argv[1:])";
    const std::string relay = TARN_BIN_DIR "/tarn-relay";
    ChildCommand command;
    command.arguments = {"python3",     "-c",       opening,  relay, "--listen",
                         "127.0.0.1:0", "--engine", "script", script};
    command.environment = {{"XDG_STATE_HOME", state.path()}, {"LISTEN_FDS", count}};
    auto started = ChildProcess::start(command);
    return started ? std::move(*started) : nullptr;
}

TEST_F(RelayProgramTest, ServesTheSocketThatItWasStartedFor) {
    const auto script = writeScript(R"({"t":0,"raw":"played"})");
    program_ = startPassing(state_, "socket.create_server(('127.0.0.1', 0))", "1", "os.getpid()", script);
    ASSERT_TRUE(program_);
    const auto port = program_->readUntil('\n', 20, soon()).value_or("0");
    // A client that comes before the program is there is served all the same.
    RawPeer peer(static_cast<std::uint16_t>(std::stoi(port)));
    peer.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ASSERT_TRUE(program_->write("\n", soon()));
    EXPECT_EQ(program_->readUntil('\n', 200, soon()), "listening on http://127.0.0.1:" + port);
    EXPECT_THAT(peer.readHead(), StartsWith("HTTP/1.1 200"));
    ::kill(program_->id(), SIGTERM);
    EXPECT_EQ(program_->ending(soon()), "ended with status 0");
}

TEST_F(RelayProgramTest, TakesNothingElseForThatSocket) {
    const std::string listening = "socket.create_server(('127.0.0.1', 0))";
    struct Case {
        std::string socket, count, process;
        const char* ending;  ///< null: it listens on a port of its own
    };
    const std::vector<Case> cases{
        {listening, "2", "os.getpid()", "ended with status 2"},
        {"socket.socket()", "1", "os.getpid()", "ended with status 2"},
        {"open('/dev/null')", "1", "os.getpid()", "ended with status 2"},
        {listening, "1", "os.getppid()", nullptr},
    };
    const auto script = writeScript(R"({"t":0,"raw":"played"})");
    for (const auto& [socket, count, process, ending] : cases) {
        const auto program = startPassing(state_, socket, count, process, script);
        ASSERT_TRUE(program);
        const auto port = program->readUntil('\n', 20, soon()).value_or("?");
        ASSERT_TRUE(program->write("\n", soon()));
        if (ending == nullptr) {
            const auto line = program->readUntil('\n', 200, soon()).value_or("");
            EXPECT_THAT(line, MatchesRegex("listening on http://127\\.0\\.0\\.1:[0-9]+"));
            EXPECT_FALSE(line.ends_with(":" + port)) << line;
        } else {
            EXPECT_EQ(program->ending(soon()), ending) << socket << " × " << count;
        }
    }
}

TEST_F(RelayProgramTest, EndsWithAStatusThatSaysWhoseFaultItWas) {
    const auto taken = "127.0.0.1:" + std::to_string(start());
    const auto good = state_.file("script.jsonl");
    struct Case {
        std::vector<std::string> arguments;
        const char* ending;
    };
    const std::vector<Case> cases{
        {{"--help"}, "ended with status 0"},
        {{"list-tokens"}, "ended with status 0"},
        {{"--listen", taken, "--engine", "script", good}, "ended with status 1"},
        {{"--engine", "script", "/nonexistent"}, "ended with status 1"},
        {{"--engine", "script", "--script", TARN_BIN_DIR "/tarn-relay"}, "ended with status 1"},
        {{"--engine", "upstream", "--service-host", "service.example"}, "ended with status 1"},  // no key
        {{"revoke-token", "nobody@example.org"}, "ended with status 1"},
        {{"--engine", "script"}, "ended with status 2"},
        {{"--engine", "upstream", "--service-host", "a b"}, "ended with status 2"},
        {{"--engine", "script", good, "--translator", "cat"}, "ended with status 2"},
        {{"--engine", "script", good, "--max-streams", "0"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "example.org:80"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "127.0.0.1:65536"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "127.0.0.1"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "::1:80"}, "ended with status 2"},
        {{"issue-token"}, "ended with status 2"},
        {{"--frobnicate"}, "ended with status 2"},
    };
    for (const auto& [arguments, ending] : cases) {
        EXPECT_EQ(runRelay(state_, arguments).ending, ending) << testing::PrintToString(arguments);
    }
    // No other arguments would mend a damaged list of tokens.
    runRelay(state_, {"issue-token", "ada@example.org"});
    state_.write("tarn/relay/tokens.json", "rubbish");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"issue-token", "ada@example.org"},
          {"revoke-token", "ada@example.org"},
          {"list-tokens"},
          {"--listen", "127.0.0.1:0", "--engine", "script", good}}) {
        EXPECT_EQ(runRelay(state_, arguments).ending, "ended with status 1") << arguments.front();
    }
}

}  // namespace
}  // namespace tarn::test
