#include "FileLock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

namespace tarn {
namespace {

std::unexpected<Error> systemFailure(const std::filesystem::path& path) {
    const auto reason = std::generic_category().message(errno);
    return failure(ErrorKind::system, "cannot lock " + path.string() + ": " + reason);
}

}  // namespace

Result<UniqueDescriptor> lockFile(const std::filesystem::path& path, std::chrono::milliseconds limit) {
    UniqueDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock) {
        return systemFailure(path);
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) {
        return lock;
    }
    // flock itself knows no time limit. Its holder closes the file in the end, and that can be watched: the
    // watch begins before the next attempt, so that no close is missed.
    const UniqueDescriptor closes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!closes || ::inotify_add_watch(closes.get(), path.c_str(), IN_CLOSE) < 0) {
        return systemFailure(path);
    }
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return systemFailure(path);
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return failure(ErrorKind::timeout, path.string() + " is locked by another process");
        }
        pollfd waiting{closes.get(), POLLIN, 0};
        ::poll(&waiting, 1, static_cast<int>(left.count()));
        std::array<char, 4096> events{};
        while (::read(closes.get(), events.data(), events.size()) > 0) {
        }
    }
    return lock;
}

}  // namespace tarn
