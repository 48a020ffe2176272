#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TarnPlatform/net/Http.h"
#include "TarnPlatform/webserver/HttpServer.h"

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

/// Whether a request was made on the machine that answers it: the peer's address is a loopback one, the
/// "Host" is a name of this machine (a page that reached it by DNS rebinding has another), and no header of a
/// proxy says that it forwards the request for somebody else.
bool isFromThisMachine(const ServerRequest& request);

/// Why the sign-in page must not answer a browser's request, or nothing. It refuses requests for a frame, an
/// image or a script of any page ("Sec-Fetch-Dest"), and forms that another page sends ("Sec-Fetch-Site"). A
/// browser that sends neither header is left to the other checks.
std::optional<std::string_view> pageObjection(const ServerRequest& request);

/// The token of an "Authorization: Bearer …" header; nothing when there is none, or more than one.
std::optional<std::string> bearerToken(const std::vector<HttpHeader>& headers);

}  // namespace tarn::relay
