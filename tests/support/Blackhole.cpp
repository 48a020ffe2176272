#include "Blackhole.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace tarn::test {

Blackhole::Blackhole(const std::string& address, std::uint16_t port) {
    sockaddr_in end{};
    end.sin_family = AF_INET;
    end.sin_port = htons(port);
    ::inet_pton(AF_INET, address.c_str(), &end.sin_addr);
    auto* const generic = reinterpret_cast<sockaddr*>(&end);
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockets_.push_back(listener);
    socklen_t size = sizeof end;
    if (::bind(listener, generic, size) != 0 || ::listen(listener, 0) != 0 ||
        ::getsockname(listener, generic, &size) != 0) {
        throw std::runtime_error("no dead address on " + address);
    }
    port_ = ntohs(end.sin_port);
    // A backlog of 0 holds one connection; one more is for the kernel's own slack. Later ones are not
    // answered.
    for (int i = 0; i < 3; ++i) {
        const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        sockets_.push_back(filler);
        // Only begun: nobody waits for it.
        [[maybe_unused]] const int begun = ::connect(filler, generic, size);
    }
}

Blackhole::~Blackhole() {
    for (const int socket : sockets_) {
        ::close(socket);
    }
}

}  // namespace tarn::test
