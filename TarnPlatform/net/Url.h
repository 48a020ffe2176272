#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Name and value of a query item, both decoded.
using QueryItem = std::pair<std::string, std::string>;

/// A parsed URL reference. Value type; every part is as it stands on the wire unless the name says decoded.
class Url {
public:
    /// Fails with `invalidInput`. A reference without scheme or host is accepted; the parts are then empty.
    static Result<Url> parse(std::string_view text);

    const std::string& scheme() const { return scheme_; }  ///< lower case
    const std::string& host() const { return host_; }      ///< no brackets around an IPv6 address
    std::optional<std::uint16_t> port() const { return port_; }
    const std::string& userInfo() const { return userInfo_; }  ///< decoded "user:password", or empty
    const std::string& path() const { return path_; }          ///< percent-encoded
    const std::string& query() const { return query_; }        ///< percent-encoded, without the question mark

    bool isSecure() const { return scheme_ == "https" || scheme_ == "wss"; }
    std::uint16_t portOrDefault() const;  ///< 443 for secure schemes, else 80
    /// True for `localhost`, 127.0.0.0/8 and ::1, by their spelling; no name is looked up.
    bool isLoopback() const;

    std::string hostHeader() const;     ///< host, and port unless it is the scheme's own
    std::string requestTarget() const;  ///< path and query, "/" at the least
    std::string text() const;

    Url withPath(std::string path) const;                           ///< `path` is percent-encoded already
    Url withQueryItems(const std::vector<QueryItem>& items) const;  ///< percent-encodes names and values
    /// Exactly one "/" between the present path and `component`.
    Url appendingPathComponent(std::string_view component) const;

    bool operator==(const Url&) const = default;

private:
    bool readAuthority(std::string_view authority);

    std::string scheme_;
    std::string userInfo_;
    std::string host_;
    std::optional<std::uint16_t> port_;
    std::string path_;
    std::string query_;
    std::string fragment_;
};

}  // namespace tarn
