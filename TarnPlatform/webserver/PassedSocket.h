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

    /// Takes it over, and takes away the variables that tell of it, so that children are told nothing.
    /// Nothing where this process was passed none. Fails with `invalidInput` where it was passed more than
    /// one, or something other than a listening TCP socket. Call once, while there is one thread.
    static Result<std::optional<PassedSocket>> take();
};

}  // namespace tarn
