#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "PrivateAudioServer.h"
#include "support/SessionProgram.h"

namespace tarn::test {

/// How a file is played.
struct PlayerOptions {
    enum class Program { pwCat, paplay };

    Program program = Program::pwCat;
    std::string applicationName{};  ///< empty: the program's own
    std::string target{};           ///< node name of the output; empty: the default one
    std::vector<std::pair<std::string, std::string>>
        properties{};  ///< more of the node's, application.id say
};

/// An application that plays a sound file. It is in the graph when the constructor returns, and gone with its
/// object.
class Player {
public:
    using Options = PlayerOptions;

    /// `server` must outlive the player. Throws std::runtime_error.
    Player(PrivateAudioServer& server, const std::filesystem::path& file, Options options = {});

    const std::string& nodeName() const { return nodeName_; }
    /// Until the file is at its end; throws when it does not get there or is not played.
    void waitForEnd(std::chrono::seconds limit = std::chrono::seconds(20));
    void stop();  ///< before the end; it is no node any more when this returns

private:
    PrivateAudioServer& server_;
    std::string nodeName_;
    SessionProgram program_;
};

}  // namespace tarn::test
