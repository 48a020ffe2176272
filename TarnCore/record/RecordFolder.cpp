#include "RecordFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>

#include "TarnPlatform/base/AtomicFile.h"

namespace tarn {
namespace {

constexpr std::string_view ending = ".jsonl";
constexpr std::size_t longestLine = std::size_t{4} * 1024 * 1024;
constexpr int mostInOneSecond = 100;

std::unexpected<Error> systemFailure(std::string_view what, const std::filesystem::path& path, int reason) {
    return failure(ErrorKind::system,
                   std::string(what) + " " + path.string() + ": " + std::generic_category().message(reason));
}

/// As this program names records, so that no other file of the user is shown or deleted.
bool isRecordName(std::string_view name) {
    return name.size() > ending.size() && name.ends_with(ending) && name.front() >= '0' &&
           name.front() <= '9' && !name.contains('/');
}

std::string nameOf(Utterance::TimePoint started, int number) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(started).time_since_epoch().count();
    const std::time_t time = seconds;
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H-%M-%SZ", &parts);
    std::string name(text.data(), length);
    if (number > 1) {
        name += "-" + std::to_string(number);
    }
    return name.append(ending);
}

struct Entry {
    std::string name;
    struct stat status{};
    bool isRunning = false;
};

struct Opened {
    UniqueDescriptor file;
    Entry entry;
};

/// Nothing where it is not there or no file of this user.
std::optional<Opened> openRecord(int folder, const std::string& name) {
    if (!isRecordName(name)) {
        return std::nullopt;
    }
    // O_NONBLOCK: a pipe planted under the name must not hold the caller.
    Opened opened{
        UniqueDescriptor(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)),
        {name}};
    struct stat& status = opened.entry.status;
    if (!opened.file || ::fstat(opened.file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid()) {
        return std::nullopt;
    }
    opened.entry.isRunning = ::flock(opened.file.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return opened;
}

/// There may be more of them than a process may have files open.
std::vector<Entry> recordsIn(int folder) {
    std::vector<Entry> entries;
    const int again = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(again < 0 ? nullptr : ::fdopendir(again), ::closedir);
    while (const dirent* const entry = listing ? ::readdir(listing.get()) : nullptr) {
        if (auto opened = openRecord(folder, entry->d_name)) {
            entries.push_back(std::move(opened->entry));
        }
    }
    return entries;
}

/// Calls `take` with each line, without its newline; one that is too long to be one of ours is empty.
/// `take` returns whether to go on.
bool forEachLine(int file, const std::function<bool(std::string_view)>& take) {
    std::string kept;
    bool isTooLong = false;
    std::vector<char> chunk(std::size_t{256} * 1024);
    for (;;) {
        const auto got = ::read(file, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            if (!kept.empty()) {
                take(kept);
            }
            return got == 0;
        }
        std::string_view rest(chunk.data(), static_cast<std::size_t>(got));
        for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
            kept.append(rest.substr(0, isTooLong ? 0 : end));
            rest.remove_prefix(end + 1);
            if (!take(std::exchange(isTooLong, false) ? std::string_view() : kept)) {
                return true;
            }
            kept.clear();
        }
        isTooLong = isTooLong || kept.size() + rest.size() > longestLine;
        kept = isTooLong ? std::string() : kept.append(rest);
    }
}

RecordInfo infoOf(const Opened& opened) {
    RecordInfo info;
    info.name = opened.entry.name;
    info.bytes = static_cast<std::uint64_t>(opened.entry.status.st_size);
    const auto written = std::chrono::seconds(opened.entry.status.st_mtim.tv_sec);
    info.started = Utterance::TimePoint(written);
    std::optional<Result<RecordHeader>> header;
    std::string last;
    forEachLine(opened.file.get(), [&](std::string_view line) {
        if (!header) {
            header = headerIn(line);
            return header->has_value();
        }
        ++info.utterances;
        last = line;
        return true;
    });
    if (!header || !*header) {
        const bool isNewer = header && header->error().kind == ErrorKind::protocol;
        info.state = isNewer ? RecordInfo::State::newer : RecordInfo::State::unreadable;
        return info;
    }
    info.state = opened.entry.isRunning ? RecordInfo::State::running : RecordInfo::State::complete;
    info.started = (*header)->started;
    info.sources = std::move((*header)->sources);
    if (const auto utterance = utteranceIn(last)) {
        const auto end = utterance->saidAt + (utterance->end - utterance->begin);
        info.duration = std::max(end - info.started, std::chrono::milliseconds(0));
    } else if (info.utterances > 0) {
        info.duration = std::max(written - info.started.time_since_epoch(), std::chrono::milliseconds(0));
    }
    return info;
}

Result<void> removeRecord(int folder, const Entry& entry) {
    if (entry.isRunning) {
        return failure(ErrorKind::unavailable, entry.name + " is being written");
    }
    if (::unlinkat(folder, entry.name.c_str(), 0) != 0 && errno != ENOENT) {
        return systemFailure("cannot delete", entry.name, errno);
    }
    return {};
}

/// What is deleted does not come back after a crash.
void syncFolder(int folder) {
    ::fsync(folder);
}

}  // namespace

Result<void> RecordFile::write(const std::string& bytes) {
    if (hasFailed_) {
        return failure(ErrorKind::unavailable, path_.string() + " takes no more");
    }
    std::string_view rest(bytes);
    int reason = 0;
    while (!rest.empty() && reason == 0) {
        const auto written = ::write(file_.get(), rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            reason = written == 0 ? ENOSPC : errno;
        }
    }
    if (reason == 0 && ::fdatasync(file_.get()) != 0) {
        reason = errno;
    }
    if (reason != 0) {
        hasFailed_ = true;
        // Nobody needs half a line; where it stays it spoils nothing.
        [[maybe_unused]] const int cut = ::ftruncate(file_.get(), static_cast<off_t>(size_));
        return systemFailure("cannot write", path_, reason);
    }
    size_ += bytes.size();
    return {};
}

Result<void> RecordFile::append(std::span<const Utterance> utterances) {
    std::string lines;
    for (const Utterance& utterance : utterances) {
        lines += lineOf(utterance);
    }
    return write(lines);
}

Result<RecordFile> RecordFolder::begin(const RecordHeader& header) const {
    if (auto made = makePrivateFolder(path_); !made) {
        return std::unexpected(std::move(made.error()));
    }
    auto folder = openPrivateFolder(path_);
    if (!folder) {
        return std::unexpected(std::move(folder.error()));
    }
    for (int number = 1; number <= mostInOneSecond; ++number) {
        const auto name = nameOf(header.started, number);
        UniqueDescriptor file(::openat(folder->get(), name.c_str(),
                                       O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                       0600));
        if (!file && errno == EEXIST) {
            continue;
        }
        if (!file) {
            return systemFailure("cannot write", path_ / name, errno);
        }
        ::flock(file.get(), LOCK_EX);
        RecordFile record(std::move(file), path_ / name);
        auto written = record.write(lineOf(header));
        if (!written) {
            ::unlinkat(folder->get(), name.c_str(), 0);
            return std::unexpected(std::move(written.error()));
        }
        syncFolder(folder->get());
        return record;
    }
    return systemFailure("cannot write", path_ / nameOf(header.started, 1), EEXIST);
}

Result<std::vector<RecordInfo>> RecordFolder::list() const {
    const auto folder = openPrivateFolder(path_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    std::vector<RecordInfo> infos;
    if (*folder) {
        for (const Entry& entry : recordsIn(folder->get())) {
            if (const auto opened = openRecord(folder->get(), entry.name)) {
                infos.push_back(infoOf(*opened));
            }
        }
    }
    std::ranges::sort(infos, std::greater(), [](const RecordInfo& info) {
        return std::tuple(info.started, info.name.size(), std::string_view(info.name));
    });
    return infos;
}

Result<RecordContents> RecordFolder::read(const std::string& name) const {
    const auto folder = openPrivateFolder(path_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    const auto opened = *folder ? openRecord(folder->get(), name) : std::optional<Opened>();
    if (!opened) {
        return failure(ErrorKind::invalidInput, (path_ / name).string() + " is no record of this user");
    }
    std::optional<Result<RecordHeader>> header;
    RecordContents contents;
    const bool isRead = forEachLine(opened->file.get(), [&](std::string_view line) {
        if (!header) {
            header = headerIn(line);
            return header->has_value();
        }
        if (auto utterance = utteranceIn(line)) {
            contents.utterances.push_back(std::move(*utterance));
        } else {
            ++contents.skipped;
        }
        return true;
    });
    if (!isRead) {
        return systemFailure("cannot read", path_ / name, errno);
    }
    if (!header || !*header) {
        auto error =
            header ? std::move(header->error()) : Error{ErrorKind::invalidInput, "this is no record"};
        error.description = (path_ / name).string() + ": " + error.description;
        return std::unexpected(std::move(error));
    }
    contents.header = std::move(**header);
    std::ranges::stable_sort(contents.utterances, {}, &Utterance::saidAt);
    return contents;
}

Result<void> RecordFolder::remove(const std::string& name) const {
    const auto folder = openPrivateFolder(path_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    const auto opened = *folder ? openRecord(folder->get(), name) : std::optional<Opened>();
    if (!opened) {
        return {};
    }
    auto removed = removeRecord(folder->get(), opened->entry);
    syncFolder(folder->get());
    return removed;
}

Result<void> RecordFolder::removeAll() const {
    const auto folder = openPrivateFolder(path_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    Result<void> outcome;
    if (*folder) {
        for (const Entry& entry : recordsIn(folder->get())) {
            if (auto removed = removeRecord(folder->get(), entry); !entry.isRunning && !removed) {
                outcome = std::move(removed);
            }
        }
        syncFolder(folder->get());
    }
    return outcome;
}

Result<void> RecordFolder::keepTo(const Limits& limits, std::chrono::system_clock::time_point now) const {
    const auto folder = openPrivateFolder(path_);
    if (!folder || !*folder) {
        return folder ? Result<void>() : std::unexpected(folder.error());
    }
    auto entries = recordsIn(folder->get());
    std::uint64_t bytes = 0;
    for (const Entry& entry : entries) {
        bytes += static_cast<std::uint64_t>(entry.status.st_size);
    }
    const auto writtenAt = [](const Entry& entry) { return entry.status.st_mtim.tv_sec; };
    std::ranges::sort(entries, {}, writtenAt);
    const auto oldest = std::chrono::system_clock::to_time_t(now - limits.age);
    Result<void> outcome;
    for (const Entry& entry : entries) {
        if (entry.isRunning || (writtenAt(entry) >= oldest && bytes <= limits.bytes)) {
            continue;
        }
        if (auto removed = removeRecord(folder->get(), entry); !removed) {
            outcome = std::move(removed);
            continue;
        }
        bytes -= static_cast<std::uint64_t>(entry.status.st_size);
    }
    syncFolder(folder->get());
    return outcome;
}

}  // namespace tarn
