#pragma once

#include <map>

#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// The kernel's news of routes and links, of the network namespace of the thread that makes this. Needs no
/// rights and no service.
class NetworkNews {
public:
    /// Where the kernel gives no such socket, there is no news.
    NetworkNews();

    /// Readable when there is something for `read`; -1 where there is no socket.
    int descriptor() const { return socket_.get(); }

    /// Takes all that has come. True where something may be reached now that could not be before: there is a
    /// new route that leads off this machine, or a link carries again. Never waits.
    bool read();

private:
    bool take(const void* message);
    bool takeLink(const void* message);

    UniqueDescriptor socket_;
    std::map<int, bool> links_;  ///< by number: whether it carries
};

}  // namespace tarn
