#include "Player.h"

#include <signal.h>

#include <stdexcept>

#include "Until.h"

namespace tarn::test {
namespace {

std::vector<std::string> commandFor(const std::filesystem::path& file, const std::string& nodeName,
                                    const PlayerOptions& options) {
    auto properties = options.properties;
    properties.emplace_back("node.name", nodeName);
    const bool isPulse = options.program == PlayerOptions::Program::paplay;
    if (!options.applicationName.empty()) {
        properties.emplace_back("application.name", options.applicationName);
    }
    std::vector<std::string> command =
        isPulse ? std::vector<std::string>{"paplay"} : std::vector<std::string>{"pw-cat", "--playback"};
    std::string list = "{";
    for (const auto& [name, value] : properties) {
        if (isPulse) {
            command.push_back("--property=" + name + "=" + value);
        }
        list += " " + name + " = \"" + value + "\"";
    }
    if (isPulse && !options.applicationName.empty()) {
        command.push_back("--client-name=" + options.applicationName);
    }
    if (!isPulse) {
        command.insert(command.end(), {"--properties", list + " }"});
    }
    if (!options.target.empty()) {
        command.push_back((isPulse ? "--device=" : "--target=") + options.target);
    }
    command.push_back(file);
    return command;
}

}  // namespace

Player::Player(PrivateAudioServer& server, const std::filesystem::path& file, Options options)
    : server_(server),
      nodeName_(server.newNodeName()),
      program_(server.run(commandFor(file, nodeName_, options))) {
    until("player " + nodeName_, [&] {
        if (!program_.isRunning()) {
            throw std::runtime_error("the player ended at once; it said: " + program_.output());
        }
        return server.answer({"pw-link", "-o"}).value_or("").contains(nodeName_ + ":output_");
    });
}

void Player::waitForEnd(std::chrono::seconds limit) {
    if (program_.wait(limit) != 0) {
        throw std::runtime_error("the player failed; it said: " + program_.output());
    }
}

void Player::stop() {
    program_.end(SIGTERM);
    until("end of " + nodeName_, [&] { return !server_.hasNode(nodeName_); });
}

}  // namespace tarn::test
