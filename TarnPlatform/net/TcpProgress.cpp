// This is a file of its own because only <linux/tcp.h> has all fields of tcp_info, and it excludes
// <netinet/tcp.h>, which Asio includes.
#include "TcpProgress.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace tarn {

TcpProgress tcpProgress(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    int waiting = 0;
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 ||
        ::ioctl(socket, SIOCOUTQ, &waiting) != 0) {
        return {};
    }
    return {info.tcpi_bytes_acked + static_cast<std::uint64_t>(waiting), info.tcpi_bytes_acked};
}

}  // namespace tarn
