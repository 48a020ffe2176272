#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "TarnPlatform/base/Asio.h"

namespace tarn {

class BusThread;

/// Has the user choose where to save a file, in the dialog of the desktop's portal.
/// Thread: the executor's; only ending an earlier question waits for the bus's thread.
class FileChooser {
public:
    struct Question {
        std::string title;
        std::string accept;       ///< what the button says
        std::string name;         ///< suggested
        std::string parent = {};  ///< the window in front of which it stands: "x11:" and its number
    };
    enum class Outcome : std::uint8_t { chosen, cancelled, noDialog };
    /// `path`: empty unless one was chosen.
    using Answered = std::function<void(Outcome outcome, const std::filesystem::path& path)>;

    /// `bus` must outlive this.
    FileChooser(BusThread& bus, SerialExecutor executor);
    ~FileChooser();
    FileChooser(const FileChooser&) = delete;
    FileChooser& operator=(const FileChooser&) = delete;

    /// Calls `answered` once, later, unless this is gone before, or asks again before there is an answer.
    void askWhereToSave(Question question, const Answered& answered);

private:
    class Dialog;
    void end();

    BusThread& bus_;
    const SerialExecutor executor_;
    std::unique_ptr<Dialog> dialog_;  ///< on the bus's thread
};

}  // namespace tarn
