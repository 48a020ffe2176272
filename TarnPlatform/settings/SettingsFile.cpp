#include "SettingsFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <system_error>
#include <utility>

#include "SettingsText.h"
#include "TarnPlatform/base/AtomicFile.h"
#include "TarnPlatform/base/FileLock.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {
namespace {

constexpr std::size_t maxFileBytes = std::size_t{1024} * 1024;
constexpr std::chrono::seconds lockLimit{2};

/// The file itself where `path` is a link to it: people keep such files in a repository of their own.
std::filesystem::path targetOf(const std::filesystem::path& path) {
    std::error_code error;
    auto target = std::filesystem::canonical(path, error);
    return error ? path : target;
}

/// As much of a file as is left, a byte more than allowed at most; nothing after a failure.
std::optional<std::string> readUpToLimit(int descriptor) {
    std::string text(maxFileBytes + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const auto got = ::read(descriptor, text.data() + size, text.size() - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
    }
    text.resize(size);
    return text;
}

}  // namespace

SettingsFile::SettingsFile(std::filesystem::path path) : path_(std::move(path)) {}

SettingsFile::Reading SettingsFile::read() const {
    const auto unreadable = [this](const std::string& why) {
        return Reading{Condition::unreadable, {}, path_.string() + " cannot be read (" + why + ")"};
    };
    // O_NONBLOCK: a pipe of that name must not hold the caller.
    const UniqueDescriptor file(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        return errno == ENOENT ? Reading{} : unreadable(std::generic_category().message(errno));
    }
    struct stat status{};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return unreadable("it is not a plain file");
    }
    const auto text = readUpToLimit(file.get());
    if (!text) {
        return unreadable(std::generic_category().message(errno));
    }
    const auto damaged = [this](const std::string& why) {
        return Reading{Condition::damaged, {}, path_.string() + " " + why};
    };
    if (text->empty()) {
        return damaged("is empty");
    }
    if (text->size() > maxFileBytes) {
        return damaged("is too long for a settings file");
    }
    auto values = parseSettings(*text);
    if (!values) {
        return damaged(values.error().description);
    }
    return Reading{Condition::good, std::move(*values), {}};
}

Result<boost::json::object> SettingsFile::merge(
    const SettingsChanges& changes, const boost::json::object& known,
    const std::function<void(const std::filesystem::path&)>& keptAside) {
    if (const auto made = makePrivateFolder(path_.parent_path()); !made) {
        return std::unexpected(made.error());
    }
    const auto lock = lockFile(path_.string() + ".lock", lockLimit);
    if (!lock) {
        return std::unexpected(lock.error());
    }
    const auto reading = read();
    if (reading.condition == Condition::unreadable) {
        return failure(ErrorKind::system, reading.description);
    }
    // A new file could take the place of a protected one all the same, but its owner means it to stay.
    if (reading.condition != Condition::missing && ::access(path_.c_str(), W_OK) != 0) {
        return failure(ErrorKind::system, path_.string() + " cannot be written (" +
                                              std::generic_category().message(errno) + ")");
    }
    auto values = reading.condition == Condition::good ? reading.values : known;
    for (const auto& [key, value] : changes) {
        if (value) {
            values[key] = *value;
        } else {
            values.erase(key);
        }
    }
    if (reading.condition == Condition::good && values == reading.values) {
        return values;
    }
    const auto file = targetOf(path_);
    if (reading.condition == Condition::damaged) {
        const auto kept = keepAside(file);
        if (!kept) {
            return std::unexpected(kept.error());
        }
        keptAside(*kept);
    }
    if (const auto written = replaceFile(file, settingsText(values)); !written) {
        return std::unexpected(written.error());
    }
    return values;
}

Result<std::filesystem::path> SettingsFile::keepAside(const std::filesystem::path& file) const {
    // The lock keeps other processes of ours from taking the name in between.
    for (int number = 1;; ++number) {
        auto kept = file;
        kept += number == 1 ? ".damaged" : ".damaged-" + std::to_string(number);
        std::error_code error;
        if (std::filesystem::exists(std::filesystem::symlink_status(kept, error))) {
            continue;
        }
        std::filesystem::rename(file, kept, error);
        if (error) {
            return failure(ErrorKind::system,
                           file.string() + " is damaged and cannot be kept aside: " + error.message());
        }
        return kept;
    }
}

}  // namespace tarn
