// The real program as its users start it: what it prints, how it ends.

#include "RelayProgram.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <fstream>
#include <string>

#include "platform_net_server/RawPeer.h"

namespace tarn::test {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

class RelayProgramTest : public testing::Test {
protected:
    std::string writeScript(const std::string& text) {
        const auto path = state_.path() / "script.jsonl";
        std::ofstream(path) << text;
        return path.string();
    }

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

TEST_F(RelayProgramTest, EndsWithAStatusThatSaysWhoseFaultItWas) {
    const auto taken = "127.0.0.1:" + std::to_string(start());
    const auto good = (state_.path() / "script.jsonl").string();
    struct Case {
        std::vector<std::string> arguments;
        const char* ending;
    };
    const std::vector<Case> cases{
        {{"--help"}, "ended with status 0"},
        {{"--listen", taken, "--engine", "script", good}, "ended with status 1"},
        {{"--engine", "script", "/nonexistent"}, "ended with status 1"},
        {{"--engine", "script", "/"}, "ended with status 1"},
        {{"--engine", "script", "--script", TARN_BIN_DIR "/tarn-relay"}, "ended with status 1"},
        {{"--engine", "upstream", "--service-host", "service.example"}, "ended with status 1"},  // no key
        {{"revoke-token", "nobody@example.org"}, "ended with status 1"},
        {{"--engine", "script"}, "ended with status 2"},
        {{"--engine", "upstream"}, "ended with status 2"},
        {{"--engine", "upstream", "--service-host", "a b"}, "ended with status 2"},
        {{"--engine", "psychic"}, "ended with status 2"},
        {{"--engine", "script", good, "--translator", "cat"}, "ended with status 2"},
        {{"--engine", "script", good, "--max-streams", "0"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "127.0.0.1"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "example.org:80"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "127.0.0.1:65536"}, "ended with status 2"},
        {{"--engine", "script", good, "--listen", "::1:80"}, "ended with status 2"},
        {{"issue-token"}, "ended with status 2"},
        {{"issue-token", ""}, "ended with status 2"},
        {{"--frobnicate"}, "ended with status 2"},
    };
    for (const auto& [arguments, ending] : cases) {
        EXPECT_EQ(runRelay(state_, arguments).ending, ending) << testing::PrintToString(arguments);
    }
    // Damaged tokens are nothing that other arguments would mend.
    runRelay(state_, {"issue-token", "ada@example.org"});
    std::ofstream(state_.path() / "tarn" / "relay" / "tokens.json") << "rubbish";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"issue-token", "ada@example.org"},
          {"revoke-token", "ada@example.org"},
          {"--listen", "127.0.0.1:0", "--engine", "script", good}}) {
        EXPECT_EQ(runRelay(state_, arguments).ending, "ended with status 1") << arguments.front();
    }
}

}  // namespace
}  // namespace tarn::test
