#include "RequestCheck.h"

#include <algorithm>

#include "TarnPlatform/net/Url.h"

namespace tarn::relay {
namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameIgnoringCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, [](char a, char b) { return lower(a) == lower(b); });
}

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
    for (const auto origin : valuesOf(headers, "Origin")) {
        if (!sameIgnoringCase(origin, "http://" + std::string(hosts.front()))) {
            return "requests from other web sites are refused";
        }
    }
    return std::nullopt;
}

std::optional<std::string> bearerToken(const std::vector<HttpHeader>& headers) {
    constexpr std::string_view scheme = "Bearer ";
    const auto values = valuesOf(headers, "Authorization");
    if (values.size() != 1 || values.front().size() <= scheme.size() ||
        !sameIgnoringCase(values.front().substr(0, scheme.size()), scheme)) {
        return std::nullopt;
    }
    return std::string(values.front().substr(scheme.size()));
}

}  // namespace tarn::relay
