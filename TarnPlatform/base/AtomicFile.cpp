#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace tarn {
namespace {

std::unexpected<Error> systemFailure(std::string_view what, const std::filesystem::path& path, int reason) {
    return failure(ErrorKind::system,
                   std::string(what) + " " + path.string() + ": " + std::generic_category().message(reason));
}

constexpr std::string_view unfinished = ".new";

std::string beginningBeside(const std::filesystem::path& path) {
    return "." + path.filename().string() + ".";
}

/// A name that no other process picks, in another container with the same folder either.
std::string nameBeside(const std::filesystem::path& path) {
    std::uint64_t random = 0;
    if (::getrandom(&random, sizeof random, 0) != sizeof random) {
        random = static_cast<std::uint64_t>(::getpid());
    }
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), random, 16).ptr;
    return beginningBeside(path) + std::string(digits.begin(), end) + std::string(unfinished);
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

Result<void> replaceFileIn(int folder, const std::filesystem::path& path, std::string_view bytes) {
    const auto name = path.filename().string();
    const auto beside = nameBeside(path);
    UniqueDescriptor file(
        ::openat(folder, beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) {
        return systemFailure("cannot write", path, errno);
    }
    // The data is synced before the name changes: the rename may reach the disk first, and a crash between
    // the two would leave an empty file under the name.
    if (!writeAll(file.get(), bytes) || ::fsync(file.get()) != 0 ||
        ::renameat(folder, beside.c_str(), folder, name.c_str()) != 0) {
        const int reason = errno;
        ::unlinkat(folder, beside.c_str(), 0);
        return systemFailure("cannot write", path, reason);
    }
    // The name is an entry of the folder, which has a sync of its own.
    if (::fsync(folder) != 0) {
        return systemFailure("cannot write the folder of", path, errno);
    }
    return {};
}

Result<void> replaceFile(const std::filesystem::path& path, std::string_view bytes) {
    const auto parent = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    const UniqueDescriptor folder(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return systemFailure("cannot write", path, errno);
    }
    return replaceFileIn(folder.get(), path, bytes);
}

void removeUnfinished(const std::filesystem::path& path) {
    const auto beginning = beginningBeside(path);
    std::error_code error;
    for (std::filesystem::directory_iterator at(path.parent_path(), error), end; !error && at != end;
         at.increment(error)) {
        const auto name = at->path().filename().string();
        if (name.starts_with(beginning) && name.ends_with(unfinished)) {
            ::unlink(at->path().c_str());
        }
    }
}

Result<void> makePrivateFolder(const std::filesystem::path& folder) {
    std::filesystem::path made;
    for (const auto& part : folder) {
        made /= part;
        std::error_code ignored;
        // What is there already may stand under a parent that is read-only, so it is asked for first.
        if (!std::filesystem::is_directory(made, ignored) && ::mkdir(made.c_str(), 0700) != 0) {
            const int reason = errno;
            // Another process may have been quicker.
            if (!std::filesystem::is_directory(made, ignored)) {
                return systemFailure("cannot make the folder", made, reason);
            }
        }
    }
    return {};
}

Result<UniqueDescriptor> openPrivateFolder(const std::filesystem::path& folder) {
    UniqueDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) {
        const int reason = errno;
        if (reason == ENOENT) {
            return UniqueDescriptor();
        }
        if (reason == ELOOP || reason == ENOTDIR) {
            return failure(ErrorKind::system, folder.string() +
                                                  " is not a folder of its own (a symbolic link is not "
                                                  "followed)");
        }
        return systemFailure("could not open the folder", folder, reason);
    }
    struct stat status{};
    if (::fstat(opened.get(), &status) != 0) {
        return systemFailure("could not examine", folder, errno);
    }
    if (status.st_uid != ::geteuid()) {
        return failure(ErrorKind::system, folder.string() + " belongs to another user");
    }
    if ((status.st_mode & 077U) != 0 && ::fchmod(opened.get(), status.st_mode & 0700U) != 0) {
        return systemFailure("could not close to others the folder", folder, errno);
    }
    return opened;
}

}  // namespace tarn
