#include "PassedSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/ip/tcp.hpp>
#include <charconv>
#include <cstdlib>
#include <string_view>

namespace tarn {
namespace {

constexpr int firstPassed = 3;  // SD_LISTEN_FDS_START of sd_listen_fds(3)

/// The variable's whole number; nothing where it is unset or not a number.
std::optional<long> numberIn(const char* variable) {
    const char* const value = std::getenv(variable);
    if (value == nullptr) {
        return std::nullopt;
    }
    const std::string_view text = value;
    long number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && rest == text.data() + text.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

bool hasOption(int descriptor, int option, int wanted) {
    int value = 0;
    socklen_t size = sizeof value;
    return ::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 && value == wanted;
}

}  // namespace

Result<std::optional<PassedSocket>> PassedSocket::take() {
    const auto process = numberIn("LISTEN_PID");
    const auto count = numberIn("LISTEN_FDS");
    for (const char* const variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) {
        ::unsetenv(variable);
    }
    // The variables may be inherited from another program, which they were meant for.
    if (process != ::getpid() || count.value_or(0) < 1) {
        return std::nullopt;
    }
    if (*count > 1) {
        return failure(ErrorKind::invalidInput, "one socket can be passed, not " + std::to_string(*count));
    }
    PassedSocket passed;
    passed.descriptor = UniqueDescriptor(firstPassed);
    boost::asio::ip::tcp::endpoint endpoint;
    auto size = static_cast<socklen_t>(endpoint.capacity());
    // Accepting on anything else would fail later, over and over, without saying why.
    const bool listens = hasOption(firstPassed, SO_ACCEPTCONN, 1) &&
                         hasOption(firstPassed, SO_TYPE, SOCK_STREAM) &&
                         ::getsockname(firstPassed, endpoint.data(), &size) == 0;
    const int family = listens ? endpoint.data()->sa_family : AF_UNSPEC;
    if ((family != AF_INET && family != AF_INET6) || ::fcntl(firstPassed, F_SETFD, FD_CLOEXEC) != 0) {
        return failure(ErrorKind::invalidInput, "what was passed is not a listening TCP socket");
    }
    passed.address = endpoint.address().to_string();
    passed.port = endpoint.port();
    return passed;
}

}  // namespace tarn
