#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Url.h"

namespace tarn {

/// Which proxy a secure connection goes through.
class ProxySettings {
public:
    ProxySettings() = default;  ///< no proxy

    /// Reads `https_proxy` (else `HTTPS_PROXY`) and `no_proxy` (else `NO_PROXY`) through `variable`, which
    /// returns nothing for an unset name. An unusable proxy URL is kept and fails each connection it applies
    /// to.
    static ProxySettings fromEnvironment(
        const std::function<std::optional<std::string>(const char*)>& variable = readEnvironment);

    /// The proxy for `url`, or nothing for a direct connection. Only https and wss are ever sent through one;
    /// `no_proxy` lists host names that match themselves and their sub-domains, addresses, CIDR ranges, or
    /// "*"; an entry may carry a port. Loopback addresses are always reached directly.
    std::optional<std::string> proxyFor(const Url& url) const;

    static std::optional<std::string> readEnvironment(const char* name);

private:
    std::string secureProxy_;  ///< empty where there is none
    std::vector<std::string> exceptions_;
};

}  // namespace tarn
