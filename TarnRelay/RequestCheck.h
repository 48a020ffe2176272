#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TarnPlatform/net/Http.h"

namespace tarn::relay {

/// Keeps web pages away from a relay that only this machine should talk to.
class RequestCheck {
public:
    /// `listenAddress`: numeric, without brackets.
    explicit RequestCheck(const std::string& listenAddress);

    /// True for an address in 127.0.0.0/8 or ::1.
    bool onLoopback() const { return onLoopback_; }

    /// Why a request is refused, or nothing. On a loopback address the "Host" must name this machine: a page
    /// whose own name was made to point here (DNS rebinding) names its own. An "Origin", which only browsers
    /// send, must be the relay's own page.
    std::optional<std::string_view> objection(const std::vector<HttpHeader>& headers) const;

private:
    const bool onLoopback_;
};

/// The token of an "Authorization: Bearer …" header; nothing when there is none, or more than one.
std::optional<std::string> bearerToken(const std::vector<HttpHeader>& headers);

}  // namespace tarn::relay
