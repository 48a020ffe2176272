#include "TarnPlatform/net/ProxySettings.h"

#include <gtest/gtest.h>

#include <map>

namespace tarn {
namespace {

bool usesProxy(const std::string& noProxy, const std::string& url) {
    const std::map<std::string, std::string> environment{{"https_proxy", "http://proxy:3128"},
                                                         {"no_proxy", noProxy}};
    const auto settings = ProxySettings::fromEnvironment([&](const char* name) -> std::optional<std::string> {
        const auto found = environment.find(name);
        return found == environment.end() ? std::nullopt : std::optional(found->second);
    });
    return settings.proxyFor(Url::parse(url).value()).has_value();
}

TEST(ProxySettings, LetsExceptionsAndLoopbackPassDirectly) {
    struct Case {
        const char* noProxy;
        const char* url;
        bool proxied;
    };
    const Case cases[] = {
        {"", "https://example.org/", true},
        {"", "http://example.org/", false},
        {"", "https://127.0.0.1:8443/", false},
        {"*", "https://example.org/", false},
        {"EXAMPLE.org", "https://a.example.ORG/", false},
        {"other.org, .example.org,, ", "https://a.example.org/", false},
        {"*.example.org", "https://a.example.org/", false},
        {"example.org", "https://badexample.org/", true},
        {"example.org:8443", "https://example.org:8443/", false},
        {"example.org:8443", "https://example.org/", true},
        {"10.0.0.0/8", "https://10.1.2.3/", false},
        {"10.0.0.0/8", "https://11.1.2.3/", true},
        {"fd00::/8", "https://[fd00::1]/", false},
        {"[fd00::1]", "https://[fd00::1]/", false},
        {"10.0.0.0/99", "https://10.1.2.3/", true},
    };
    for (const auto& [noProxy, url, proxied] : cases) {
        EXPECT_EQ(usesProxy(noProxy, url), proxied) << noProxy << " and " << url;
    }
}

TEST(ProxySettings, PrefersTheLowerCaseNamesAndTakesTheOthersToo) {
    const auto settings = ProxySettings::fromEnvironment([](const char* name) -> std::optional<std::string> {
        return std::string(name) == "HTTPS_PROXY" ? std::optional<std::string>("http://upper:1")
                                                  : std::nullopt;
    });
    EXPECT_EQ(settings.proxyFor(Url::parse("https://example.org").value()), "http://upper:1");
    EXPECT_FALSE(ProxySettings().proxyFor(Url::parse("https://example.org").value()));
}

}  // namespace
}  // namespace tarn
