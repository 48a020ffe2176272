#pragma once

#include <expected>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/secrets/SecretStore.h"

namespace tarn {

/// Why an operation on the account server failed. Value type.
class TarnServerError {
public:
    /// The server answered with a status outside 200 to 299; status 0 where no request could be made.
    struct Http {
        int status = 0;
        std::optional<std::string> body;  ///< nothing when it is not UTF-8
    };
    /// A good answer that does not hold the expected record.
    struct Decoding {
        Error error;
    };
    /// There was no answer.
    struct Transport {
        Error error;
        std::string body;  ///< what came with a refused upgrade: 4 KiB at most, whatever they are
    };
    /// Nobody is signed in.
    struct NotAuthenticated {};

    using Value = std::variant<Http, Decoding, Transport, NotAuthenticated>;

    static TarnServerError http(int status, std::optional<std::string> body) {
        return TarnServerError(Http{status, std::move(body)});
    }
    static TarnServerError decoding(Error error) { return TarnServerError(Decoding{std::move(error)}); }
    static TarnServerError transport(Error error, std::string body = {}) {
        return TarnServerError(Transport{std::move(error), std::move(body)});
    }
    static TarnServerError notAuthenticated() { return TarnServerError(NotAuthenticated{}); }

    const Value& value() const { return value_; }
    template <typename Case>
    const Case* as() const {
        return std::get_if<Case>(&value_);
    }

    /// True when the server does not accept the token, or there is none: only a new sign-in helps.
    bool meansSignedOut() const;

private:
    explicit TarnServerError(Value value) : value_(std::move(value)) {}

    Value value_;
};

template <typename T>
using ServerResult = std::expected<T, TarnServerError>;

/// Why no token could be had; `Transport` carries it. What the user can do stands in it.
Error keyringError(const SecretError& error);

/// The sentence in which the server says why it refused: the "error" or "message" of a JSON object, or a
/// plain line. Printable, 300 characters at most; nothing where its answer holds no such thing.
std::optional<std::string> serversReason(const TarnServerError& error);

/// One line for a log or a terminal that says what happened. Of an answer's body it holds `serversReason`
/// where an upgrade was refused; never the token.
std::string diagnosis(const TarnServerError& error);

/// One line for people: the diagnosis with `serversReason` behind it, whatever was refused.
std::string explain(const TarnServerError& error);

/// The same as a sentence for the window.
std::string describe(const TarnServerError& error);

}  // namespace tarn
