#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "RecordLines.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// What a list of records shows of one.
struct RecordInfo {
    enum class State : std::uint8_t {
        complete,
        running,     ///< it is being written
        newer,       ///< a newer version of the program has written it: it cannot be read here
        unreadable,  ///< it is no record
    };

    std::string name{};  ///< of its file
    State state = State::complete;
    Utterance::TimePoint started{};        ///< where that cannot be read: when it was written to last
    std::chrono::milliseconds duration{};  ///< to the end of what was said last
    std::vector<RecordSource> sources{};
    std::size_t utterances = 0;
    std::uint64_t bytes = 0;
};

/// A record, read.
struct RecordContents {
    RecordHeader header{};
    std::vector<Utterance> utterances{};  ///< in the order in which they were said
    std::size_t skipped = 0;              ///< lines that are no utterances; a last one that is cut counts
};

/// A record that is being written; locked meanwhile, so that nobody takes it for an old one.
class RecordFile {
public:
    /// Returns once all of them are on the disk. After a failure the file holds what it held before; it takes
    /// no more.
    Result<void> append(std::span<const Utterance> utterances);

    const std::filesystem::path& path() const { return path_; }

private:
    friend class RecordFolder;
    RecordFile(UniqueDescriptor file, std::filesystem::path path)
        : file_(std::move(file)), path_(std::move(path)) {}
    Result<void> write(const std::string& bytes);

    UniqueDescriptor file_;
    std::filesystem::path path_;
    std::uint64_t size_ = 0;
    bool hasFailed_ = false;
};

/// The records of one user: a folder that is closed to others, in it one file for each run. Symbolic links
/// and other users' files are passed over as if they were not there.
///
/// Thread: any; each call waits for the disk.
class RecordFolder {
public:
    /// What is kept: beyond it the oldest records go, but never one that is being written.
    struct Limits {
        std::chrono::seconds age = std::chrono::hours(24 * 90);  ///< since it was written to last
        std::uint64_t bytes = 200'000'000;                       ///< of all together
    };

    explicit RecordFolder(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& path() const { return path_; }

    /// A new record. Makes the folder where there is none.
    Result<RecordFile> begin(const RecordHeader& header) const;
    /// The newest first.
    Result<std::vector<RecordInfo>> list() const;
    /// Fails with `protocol` where a newer version of the program has written it.
    Result<RecordContents> read(const std::string& name) const;
    /// Fails with `unavailable` where it is being written. One that is gone already is no failure.
    Result<void> remove(const std::string& name) const;
    /// All but those that are being written.
    Result<void> removeAll() const;
    Result<void> keepTo(const Limits& limits, std::chrono::system_clock::time_point now) const;

private:
    const std::filesystem::path path_;
};

}  // namespace tarn
