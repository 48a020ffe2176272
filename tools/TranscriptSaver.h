#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "TarnCore/record/TranscriptFile.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn::cli {

/// Writes what a run says to files, each in the format of its ending, as it comes. A thread of its own waits
/// for the disk. Thread: the main context's only.
class TranscriptSaver {
public:
    /// `options.format` is left aside.
    TranscriptSaver(const std::vector<std::string>& paths, const TranscriptOptions& options);
    ~TranscriptSaver();

    /// Makes the files, or empties them; waits for the disk. Nothing the second time.
    Result<void> open();
    void add(const Utterance& utterance);
    /// Waits until the disk has all, for `endLimit` at most.
    Task<void> close();

    /// What could not be written, in words: once when a file begins to fail, and once more for what is
    /// missing at the end. The end of the queue comes with `close`.
    const EventQueue<std::string>& troubles() const { return files_->troubles; }
    /// Whether all that was added is in the files; told by `close`.
    bool isComplete() const { return isComplete_; }

private:
    struct Saved {
        TranscriptFile file;
        bool fails = false;
    };
    struct Files {
        std::vector<Saved> saved;  ///< once it is open: the queue's own
        EventQueue<std::string> troubles;
    };

    const std::vector<std::string> paths_;
    const TranscriptOptions options_;
    const std::shared_ptr<Files> files_ = std::make_shared<Files>();
    std::unique_ptr<SerialQueue> queue_;  ///< once the files are open
    bool isComplete_ = true;
    bool isStuck_ = false;  ///< its thread waits for the disk for too long
};

}  // namespace tarn::cli
