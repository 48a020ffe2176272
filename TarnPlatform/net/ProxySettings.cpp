#include "ProxySettings.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <boost/beast/core/string.hpp>
#include <charconv>
#include <cstdlib>

namespace tarn {
namespace {

namespace ip = boost::asio::ip;

std::vector<std::string> splitList(std::string_view list) {
    std::vector<std::string> entries;
    while (!list.empty()) {
        const auto end = std::min(list.find_first_of(", \t"), list.size());
        if (end > 0) {
            entries.emplace_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return entries;
}

bool isInRange(const ip::address& address, const std::string& range) {
    boost::system::error_code error;
    if (address.is_v4()) {
        const auto network = ip::make_network_v4(range, error);
        return !error &&
               ip::network_v4(address.to_v4(), network.prefix_length()).canonical() == network.canonical();
    }
    const auto network = ip::make_network_v6(range, error);
    return !error &&
           ip::network_v6(address.to_v6(), network.prefix_length()).canonical() == network.canonical();
}

/// Takes a ":port" off the end of an exception and says whether it fits. Only an IPv6 address in brackets can
/// have one.
bool portFits(std::string_view& entry, std::uint16_t port) {
    const auto colon = entry.rfind(':');
    if (colon == std::string_view::npos || (entry.find(':') != colon && !entry.starts_with('['))) {
        return true;
    }
    if (entry.ends_with(']')) {
        return true;
    }
    unsigned wanted = 0;
    const auto digits = entry.substr(colon + 1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), wanted);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return true;
    }
    entry = entry.substr(0, colon);
    return wanted == port;
}

bool excepts(std::string_view entry, const Url& url) {
    if (entry == "*") {
        return true;
    }
    if (!portFits(entry, url.portOrDefault())) {
        return false;
    }
    if (entry.starts_with('[') && entry.ends_with(']')) {
        entry = entry.substr(1, entry.size() - 2);
    }
    boost::system::error_code error;
    const auto address = ip::make_address(url.host(), error);
    if (!error) {
        if (entry.contains('/')) {
            return isInRange(address, std::string(entry));
        }
        const auto exception = ip::make_address(std::string(entry), error);
        return !error && exception == address;
    }
    if (entry.starts_with('*')) {
        entry.remove_prefix(1);
    }
    if (entry.starts_with('.')) {
        entry.remove_prefix(1);
    }
    const std::string_view host = url.host();
    if (entry.empty() || host.size() < entry.size()) {
        return false;
    }
    const auto tail = host.substr(host.size() - entry.size());
    // "example.org" excepts "www.example.org" but not "myexample.org".
    const bool wholeLabel = host.size() == entry.size() || host[host.size() - entry.size() - 1] == '.';
    return wholeLabel && boost::beast::iequals(tail, entry);
}

}  // namespace

std::optional<std::string> ProxySettings::readEnvironment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

ProxySettings ProxySettings::fromEnvironment(
    const std::function<std::optional<std::string>(const char*)>& variable) {
    const auto either = [&](const char* lower, const char* upper) {
        const auto value = variable(lower);
        return value ? *value : variable(upper).value_or("");
    };
    ProxySettings settings;
    settings.secureProxy_ = either("https_proxy", "HTTPS_PROXY");
    settings.exceptions_ = splitList(either("no_proxy", "NO_PROXY"));
    return settings;
}

std::optional<std::string> ProxySettings::proxyFor(const Url& url) const {
    if (secureProxy_.empty() || !url.isSecure() || url.isLoopback()) {
        return std::nullopt;
    }
    for (const auto& entry : exceptions_) {
        if (excepts(entry, url)) {
            return std::nullopt;
        }
    }
    return secureProxy_;
}

}  // namespace tarn
