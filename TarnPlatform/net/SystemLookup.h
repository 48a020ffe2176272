#pragma once

#include <boost/asio/ip/address.hpp>
#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// One question to the system's resolver, on a thread of the C library's own (getaddrinfo_a). A resolver that
/// hangs holds up neither other lookups nor the end of the process, both of which Asio's one resolver thread
/// would.
struct SystemLookup {
    using Answer = Result<std::vector<asio::ip::address>>;

    static SystemLookup start(std::string host);

    EventQueue<Answer> answers;   ///< one answer comes, unless this object goes first
    std::shared_ptr<void> asked;  ///< the answer is wanted as long as this lives
};

}  // namespace tarn
