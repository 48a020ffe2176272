#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TarnCore/record/RecordFolder.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

/// The records on the disk, for a thread that must not wait for it: all that is asked for is done one after
/// the other on a thread of its own.
///
/// Thread: any. What is awaited resumes on the caller's executor; a caller who is cancelled stops waiting,
/// and the work is done all the same. An answer that comes after the archive is gone comes all the same.
class RecordArchive {
public:
    explicit RecordArchive(std::filesystem::path folder);
    /// Waits for what is still to be written, but no longer than 2 s: a disk that hangs does not hold the end
    /// of the program.
    ~RecordArchive();
    RecordArchive(const RecordArchive&) = delete;
    RecordArchive& operator=(const RecordArchive&) = delete;

    const std::filesystem::path& folder() const { return folder_->path(); }

    // As in `RecordFolder`.
    Task<Result<std::vector<RecordInfo>>> list() const;
    Task<Result<RecordContents>> read(std::string name) const;
    Task<Result<void>> remove(std::string name) const;
    Task<Result<void>> removeAll() const;

    /// Does `work` after all that was asked for before. It must not throw.
    void later(std::move_only_function<void(const RecordFolder&)> work) const;

private:
    const std::shared_ptr<const RecordFolder> folder_;
    std::unique_ptr<SerialQueue> queue_;
};

}  // namespace tarn
