#include "Url.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <boost/url/encode.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/pct_string_view.hpp>
#include <boost/url/rfc/unreserved_chars.hpp>
#include <boost/url/url_view.hpp>
#include <charconv>

namespace tarn {
namespace {

namespace urls = boost::urls;

std::string decoded(std::string_view text) {
    const auto view = urls::make_pct_string_view(urls::string_view(text.data(), text.size()));
    if (!view) {
        return std::string(text);
    }
    return view->decode({}, urls::string_token::return_string{});
}

/// Every character but the unreserved ones is encoded, so that no server reads one as a separator, a space or
/// an escape.
std::string encodedQueryText(std::string_view text) {
    return urls::encode(urls::string_view(text.data(), text.size()), urls::unreserved_chars);
}

std::string lowered(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    });
    return text;
}

std::string toString(urls::string_view view) {
    return {view.data(), view.size()};
}

}  // namespace

Result<Url> Url::parse(std::string_view text) {
    const auto invalid = failure(ErrorKind::invalidInput, "not a valid URL");
    if (!urls::parse_uri_reference(urls::string_view(text.data(), text.size()))) {
        return invalid;
    }
    Url url;
    // Boost.URL 1.81 reads a host name that begins like an IPv4 address ("127.0.0.1.example.org") as that
    // address and the rest as the path. Hence the authority is cut out and read here, and the library reads
    // the URL with a harmless host ("h") in its place.
    const auto slashes = text.find("//");
    std::string withoutAuthority(text);
    if (slashes != std::string_view::npos &&
        (slashes == 0 || (text[slashes - 1] == ':' && text.find_first_of(":/?#") == slashes - 1))) {
        const auto start = slashes + 2;
        const auto end = std::min(text.find_first_of("/?#", start), text.size());
        if (!url.readAuthority(text.substr(start, end - start))) {
            return failure(ErrorKind::invalidInput, "not a valid host or port in the URL");
        }
        withoutAuthority.replace(slashes, end - slashes, "//h");
    }
    const auto parsed = urls::parse_uri_reference(withoutAuthority);
    if (!parsed) {
        return invalid;
    }
    url.scheme_ = lowered(toString(parsed->scheme()));
    url.path_ = toString(parsed->encoded_path());
    url.query_ = toString(parsed->encoded_query());
    url.fragment_ = toString(parsed->encoded_fragment());
    return url;
}

bool Url::readAuthority(std::string_view authority) {
    // The last "@" counts, as in browsers: "//good.example@evil.example" names the second host.
    const auto at = authority.rfind('@');
    if (at != std::string_view::npos) {
        userInfo_ = decoded(authority.substr(0, at));
        authority.remove_prefix(at + 1);
    }
    std::string_view digits;
    if (authority.starts_with('[')) {
        const auto close = authority.find(']');
        boost::system::error_code error;
        host_ = authority.substr(1, close == std::string_view::npos ? close : close - 1);
        boost::asio::ip::make_address_v6(host_, error);
        if (close == std::string_view::npos || error) {
            return false;
        }
        digits = authority.substr(close + 1);
    } else {
        const auto colon = std::min(authority.find(':'), authority.size());
        host_ = decoded(authority.substr(0, colon));
        digits = authority.substr(colon);
    }
    // Decoded, a host may hold characters that would end it early in a header or another parser.
    if (std::ranges::any_of(host_,
                            [](unsigned char c) { return c <= ' ' || c == 0x7f || c == '/' || c == '@'; })) {
        return false;
    }
    if (digits.empty() || digits == ":") {
        return true;
    }
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data() + 1, digits.data() + digits.size(), port);
    port_ = port;
    return digits.front() == ':' && error == std::errc() && end == digits.data() + digits.size() && port != 0;
}

std::uint16_t Url::portOrDefault() const {
    return port_.value_or(isSecure() ? 443 : 80);
}

// Only the spelling counts: a name that a resolver maps to 127.0.0.1 may mean another machine tomorrow.
bool Url::isLoopback() const {
    boost::system::error_code isName;
    const auto address = boost::asio::ip::make_address(host_, isName);
    return isName ? lowered(host_) == "localhost" : address.is_loopback();
}

std::string Url::hostHeader() const {
    std::string text = host_.contains(':') ? "[" + host_ + "]" : host_;
    if (port_ && *port_ != (isSecure() ? 443 : 80)) {
        text += ":" + std::to_string(*port_);
    }
    return text;
}

std::string Url::requestTarget() const {
    std::string target = path_.empty() ? "/" : path_;
    if (!query_.empty()) {
        target += "?" + query_;
    }
    return target;
}

std::string Url::text() const {
    std::string text;
    if (!scheme_.empty()) {
        text += scheme_ + ":";
    }
    if (!host_.empty()) {
        text += "//";
        if (!userInfo_.empty()) {
            text += urls::encode(urls::string_view(userInfo_.data(), userInfo_.size()),
                                 urls::unreserved_chars + urls::grammar::lut_chars(":")) +
                    "@";
        }
        text += host_.contains(':') ? "[" + host_ + "]" : host_;
        if (port_) {
            text += ":" + std::to_string(*port_);
        }
    }
    text += path_;
    if (!query_.empty()) {
        text += "?" + query_;
    }
    if (!fragment_.empty()) {
        text += "#" + fragment_;
    }
    return text;
}

Url Url::withPath(std::string path) const {
    Url copy = *this;
    copy.path_ = std::move(path);
    return copy;
}

Url Url::withQueryItems(const std::vector<QueryItem>& items) const {
    Url copy = *this;
    copy.query_.clear();
    for (const auto& [name, value] : items) {
        if (!copy.query_.empty()) {
            copy.query_ += '&';
        }
        copy.query_ += encodedQueryText(name) + "=" + encodedQueryText(value);
    }
    return copy;
}

Url Url::appendingPathComponent(std::string_view component) const {
    Url copy = *this;
    while (copy.path_.ends_with('/')) {
        copy.path_.pop_back();
    }
    while (component.starts_with('/')) {
        component.remove_prefix(1);
    }
    copy.path_ += '/';
    copy.path_ += component;
    return copy;
}

}  // namespace tarn
