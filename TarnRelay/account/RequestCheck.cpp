#include "RequestCheck.h"

#include <boost/asio/ip/address.hpp>
#include <initializer_list>

#include "TarnPlatform/net/Url.h"

namespace tarn::relay {
namespace {

std::vector<std::string_view> valuesOf(const std::vector<HttpHeader>& headers, std::string_view name) {
    std::vector<std::string_view> values;
    for (const auto& header : headers) {
        if (sameIgnoringCase(header.name, name)) {
            values.emplace_back(header.value);
        }
    }
    return values;
}

bool isLoopbackAddress(const std::string& address) {
    const auto url =
        Url::parse(address.find(':') == std::string::npos ? "http://" + address : "http://[" + address + "]");
    return url && url->isLoopback();
}

}  // namespace

RequestCheck::RequestCheck(const std::string& listenAddress)
    : onLoopback_(isLoopbackAddress(listenAddress)) {}

std::optional<std::string_view> RequestCheck::objection(const std::vector<HttpHeader>& headers) const {
    const auto hosts = valuesOf(headers, "Host");
    if (hosts.size() != 1) {
        return "one \"Host\" header is needed";
    }
    const auto host = Url::parse("http://" + std::string(hosts.front()));
    if (!host || host->host().empty() || !host->userInfo().empty() || !host->path().empty() ||
        !host->query().empty()) {
        return "the \"Host\" header is malformed";
    }
    if (onLoopback_ && !host->isLoopback()) {
        return "this relay answers only to names of this machine";
    }
    // A page of another site may send requests to any address, and only its "Origin" tells them from our own.
    for (const auto origin : valuesOf(headers, "Origin")) {
        if (!sameIgnoringCase(origin, "http://" + std::string(hosts.front()))) {
            return "requests from other web sites are refused";
        }
    }
    return std::nullopt;
}

bool isFromThisMachine(const ServerRequest& request) {
    boost::system::error_code error;
    auto peer = asio::ip::make_address(request.remoteAddress, error);
    if (!error && peer.is_v6() && peer.to_v6().is_v4_mapped()) {
        peer = asio::ip::make_address_v4(asio::ip::v4_mapped, peer.to_v6());
    }
    if (error || !peer.is_loopback()) {
        return false;
    }
    // A proxy on this machine connects from a loopback address for clients anywhere, but mostly says so in
    // one of these headers.
    for (const auto* name : {"Forwarded", "X-Forwarded-For", "X-Forwarded-Host", "X-Real-IP", "Via"}) {
        if (!valuesOf(request.headers, name).empty()) {
            return false;
        }
    }
    const auto host = Url::parse("http://" + std::string(headerValue(request.headers, "Host")));
    return host && host->isLoopback();
}

std::optional<std::string_view> pageObjection(const ServerRequest& request) {
    for (const auto destination : valuesOf(request.headers, "Sec-Fetch-Dest")) {
        if (destination != "document") {
            return "this page stands in a window of its own only";
        }
    }
    for (const auto site : valuesOf(request.headers, "Sec-Fetch-Site")) {
        // "same-site" is not enough: a page on another port of this machine is of the same site.
        if (request.method != "GET" && site != "same-origin") {
            return "requests from other web sites are refused";
        }
    }
    return std::nullopt;
}

std::optional<std::string> bearerToken(const std::vector<HttpHeader>& headers) {
    constexpr std::string_view scheme = "Bearer ";
    // Of two headers a proxy might check one and we the other, so that two are refused like none.
    const auto values = valuesOf(headers, "Authorization");
    if (values.size() != 1 || values.front().size() <= scheme.size() ||
        !sameIgnoringCase(values.front().substr(0, scheme.size()), scheme)) {
        return std::nullopt;
    }
    return std::string(values.front().substr(scheme.size()));
}

}  // namespace tarn::relay
