#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/PostedCallback.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

/// A file that has the latest text, for programs that read one again and again. It is replaced in one step,
/// at most every `shortest`. Thread: the executor's; a thread of its own waits for the disk.
class SubtitleFile {
public:
    static constexpr std::chrono::milliseconds shortest{100};
    /// Why the file could not be written; empty: it could be again.
    using Told = std::function<void(const std::string& whyNot)>;

    /// `told` is called where something has changed.
    SubtitleFile(std::filesystem::path path, SerialExecutor executor, std::shared_ptr<Clock> clock,
                 Told told);
    /// Leaves an empty file.
    ~SubtitleFile();
    SubtitleFile(const SubtitleFile&) = delete;
    SubtitleFile& operator=(const SubtitleFile&) = delete;

    void show(std::string text);

private:
    struct Disk;

    void write();

    const SerialExecutor executor_;
    const std::shared_ptr<Clock> clock_;
    const PostedCallback<std::string> told_;
    const std::shared_ptr<Disk> disk_;
    std::string text_;
    std::unique_ptr<ScheduledCall> pause_;  ///< until then nothing is written
    bool isBehind_ = false;                 ///< `text_` is not written yet
    std::unique_ptr<SerialQueue> queue_;
};

}  // namespace tarn
