#include "StandardError.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string_view>

namespace tarn {
namespace {

constexpr std::size_t mostWaiting = std::size_t{256} * 1024;

bool takesMore(int patience) {
    pollfd error{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    return ::poll(&error, 1, patience) > 0;
}

/// As `write`, but fails with EAGAIN instead of waiting. The descriptor itself stays as it is, since other
/// processes share it.
ssize_t writeNow(std::string_view text) {
    struct stat facts{};
    if (::fstat(STDERR_FILENO, &facts) == 0 && S_ISSOCK(facts.st_mode)) {
        return ::send(STDERR_FILENO, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    if (S_ISFIFO(facts.st_mode) || S_ISCHR(facts.st_mode)) {
        const int own = ::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
        if (own >= 0) {
            const auto written = ::write(own, text.data(), text.size());
            const int why = errno;
            ::close(own);
            errno = why;
            return written;
        }
        // Such as another user's terminal. So much it takes at once if it takes anything.
        text = text.substr(0, PIPE_BUF);
        if (!takesMore(0)) {
            errno = EAGAIN;
            return -1;
        }
    }
    return ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

void StandardError::write(const std::string& line) {
    writeWhatIsTaken();
    if (waiting_.size() + line.size() > mostWaiting) {
        ++lost_;
        return;
    }
    sayWhatIsLost();
    waiting_ += line;
    writeWhatIsTaken();
}

void StandardError::flush(std::chrono::milliseconds patience) {
    sayWhatIsLost();
    const auto end = std::chrono::steady_clock::now() + patience;
    for (writeWhatIsTaken(); !waiting_.empty(); writeWhatIsTaken()) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        if (left <= 0 || !takesMore(static_cast<int>(left))) {
            return;
        }
    }
}

void StandardError::writeWhatIsTaken() {
    while (!waiting_.empty()) {
        const auto written = writeNow(waiting_);
        if (written > 0) {
            waiting_.erase(0, static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            if (errno != EAGAIN) {
                waiting_.clear();  // nobody will ever read it, and there is nowhere left to say so
            }
            return;
        }
    }
}

void StandardError::sayWhatIsLost() {
    if (lost_ > 0) {
        waiting_ += "[log] " + std::to_string(lost_) + " lines were left out: standard error took no more\n";
        lost_ = 0;
    }
}

}  // namespace tarn
