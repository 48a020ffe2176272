#pragma once

#include <expected>
#include <string>
#include <utility>

namespace tarn {

enum class ErrorKind {
    invalidInput,  ///< what was asked for makes no sense: a malformed URL, an unreadable file
    resolution,    ///< the host name has no address
    connection,    ///< no address answered, or the connection broke
    tls,           ///< certificate or handshake refused
    proxy,         ///< the proxy refused or spoke nonsense
    timeout,       ///< a stated limit passed
    upgrade,       ///< the WebSocket upgrade was answered with another status than 101
    protocol,      ///< the peer broke the protocol
    closed,        ///< the peer closed the connection
    cancelled,     ///< ended by this side
    unavailable,   ///< a service of the desktop is not there
    system,        ///< the operating system refused
};

/// A failure as a value.
struct Error {
    ErrorKind kind = ErrorKind::system;
    std::string
        description;     ///< one line for people, without a full stop; never holds tokens or spoken words
    int httpStatus = 0;  ///< status of a refused upgrade or proxy request; 0 where there was none
    // Where callers tell failures apart by a number of the part that failed.
    std::string domain{};  ///< whose number it is; empty where there is none
    int code = 0;
};

template <typename T>
using Result = std::expected<T, Error>;

inline std::unexpected<Error> failure(ErrorKind kind, std::string description, int httpStatus = 0) {
    return std::unexpected(Error{kind, std::move(description), httpStatus});
}

}  // namespace tarn
