#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// A socket that already listens, opened by whoever started this program, so that the program need not run
/// before its first client comes (sd_listen_fds(3)).
struct PassedSocket {
    UniqueDescriptor descriptor;
    std::string address;  ///< numeric
    std::uint16_t port = 0;

    /// Takes the socket over, and unsets the variables that describe it, so that no child takes them for its
    /// own. Nothing where this process was passed none. Fails with `invalidInput` where it was passed more
    /// than one, or something other than a listening TCP socket. Call once, while there is one thread.
    static Result<std::optional<PassedSocket>> take();
};

}  // namespace tarn
