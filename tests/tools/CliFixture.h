#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/Program.h"

namespace tarn::test {

/// The real programs, in a world of their own: a relay that plays a script, and the command line in front of
/// it.
class CliFixture : public testing::Test {
protected:
    static std::string binary(const std::string& name) { return std::string(TARN_BIN_DIR) + "/" + name; }

    std::map<std::string, std::string> relayEnvironment() const {
        return {{"XDG_STATE_HOME", world.file("state")}};
    }

    /// Starts the relay with `script` (JSON lines) and signs in.
    void startRelay(const std::string& script) {
        relay = std::make_unique<Program>(
            Program::Setup{{binary("tarn-relay"), "--listen", "127.0.0.1:0", "--engine", "script",
                            world.write("script.jsonl", script)},
                           relayEnvironment()});
        relay->waitForOutput("\n");
        const std::string mark = "listening on ";
        auto line = relay->out();
        line = line.substr(line.find(mark) + mark.size());
        server = line.substr(0, line.find('\n')) + "/tarn";
        token = issueToken();
    }

    std::string issueToken() const {
        Program issue({{binary("tarn-relay"), "issue-token", "me@example.org"}, relayEnvironment()});
        EXPECT_EQ(issue.wait(), 0);
        auto text = issue.out();
        text.pop_back();
        return text;
    }

    std::unique_ptr<Program> start(std::vector<std::string> arguments,
                                   const std::string& input = "/dev/null") const {
        arguments.insert(arguments.begin(), binary("tarn-cli"));
        if (!server.empty()) {
            arguments.insert(arguments.end(), {"--server", server});
        }
        std::map<std::string, std::string> environment{
            {"XDG_DATA_HOME", world.file("data")},
            {"XDG_CONFIG_HOME", world.file("config")},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + world.file("no-bus")}};
        if (!token.empty()) {
            environment["TARN_TOKEN"] = token;
        }
        if (!runtimeFolder.empty()) {
            environment["XDG_RUNTIME_DIR"] = runtimeFolder;
        }
        return std::make_unique<Program>(Program::Setup{arguments, environment, input});
    }

    TemporaryFolder world;
    std::unique_ptr<Program> relay;
    std::string server;
    std::string token;
    std::string runtimeFolder;  ///< where the audio server answers; empty: nowhere
};

}  // namespace tarn::test
