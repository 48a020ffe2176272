// Apart, since <linux/tcp.h> and <netinet/tcp.h>, which the C++ library's sockets include, exclude each
// other.
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
