#include "Deployment.h"

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "TarnPlatform/base/UserFolders.h"
#include "TarnPlatform/net/ListenerOwner.h"

namespace tarn::Deployment {
namespace {

namespace json = boost::json;

constexpr const char* localRelay = "http://127.0.0.1:8787";
constexpr const char* apiPath = "/tarn";
constexpr std::size_t maxFileBytes = std::size_t{64} * 1024;

/// A value as it was written, and where: for the message when it makes no sense.
struct Text {
    std::string value;
    std::string origin;
};

struct Texts {
    std::optional<Text> api;
    std::optional<Text> web;
    std::optional<Text> issues;
    std::optional<Text> service;
    std::vector<std::string> providers;
    bool allowPlainHttp = false;
};

Result<std::string> readFile(const std::filesystem::path& path) {
    std::error_code error;
    const auto kind = std::filesystem::status(path, error).type();
    if (kind == std::filesystem::file_type::not_found) {
        return std::string();
    }
    if (kind != std::filesystem::file_type::regular) {
        return failure(ErrorKind::invalidInput,
                       path.string() + (error ? ": " + error.message() : std::string(" is not a file")));
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(maxFileBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (!file && !file.eof()) {
        return failure(ErrorKind::invalidInput, path.string() + " cannot be read");
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > maxFileBytes) {
        return failure(ErrorKind::invalidInput, path.string() + " is too long for a deployment file");
    }
    if (text.empty()) {
        return failure(ErrorKind::invalidInput, path.string() + " is empty; an empty object is {}");
    }
    return text;
}

Result<std::vector<std::string>> providersIn(const json::value& value, const std::string& origin) {
    constexpr std::array known{"email", "google", "apple", "github"};
    std::vector<std::string> providers;
    const auto* const list = value.if_array();
    for (const auto& entry : list == nullptr ? json::array() : *list) {
        const auto* const name = entry.if_string();
        if (name != nullptr && std::ranges::find(known, std::string_view(*name)) != known.end()) {
            providers.emplace_back(*name);
        }
    }
    if (list == nullptr || providers.size() != list->size()) {
        return failure(ErrorKind::invalidInput,
                       origin + R"( must be a list of "email", "google", "apple" and "github")");
    }
    return providers;
}

Result<void> readInto(Texts& texts, const std::filesystem::path& path) {
    const auto text = readFile(path);
    if (!text) {
        return std::unexpected(text.error());
    }
    if (text->empty()) {
        return {};
    }
    json::error_code error;
    const auto value = json::parse(*text, error);
    if (error) {
        return failure(ErrorKind::invalidInput, path.string() + " is not valid JSON: " + error.message());
    }
    if (!value.is_object()) {
        return failure(ErrorKind::invalidInput, path.string() + " must hold a JSON object");
    }
    const auto& object = value.as_object();
    for (const auto& [key, target] :
         {std::pair("apiUrl", &texts.api), std::pair("webUrl", &texts.web),
          std::pair("issuesUrl", &texts.issues), std::pair("serviceHost", &texts.service)}) {
        const auto* const found = object.if_contains(key);
        if (found == nullptr) {
            continue;
        }
        const auto origin = path.string() + ": \"" + key + "\"";
        if (!found->is_string()) {
            return failure(ErrorKind::invalidInput, origin + " must be a string");
        }
        *target = Text{std::string(found->as_string()), origin};
    }
    if (const auto* const named = object.if_contains("signInProviders")) {
        auto providers = providersIn(*named, path.string() + ": \"signInProviders\"");
        if (!providers) {
            return std::unexpected(providers.error());
        }
        texts.providers = std::move(*providers);
    }
    if (const auto* const allow = object.if_contains("allowPlainHttp")) {
        if (!allow->is_bool()) {
            return failure(ErrorKind::invalidInput,
                           path.string() + ": \"allowPlainHttp\" must be true or false");
        }
        texts.allowPlainHttp = allow->as_bool();
    }
    return {};
}

Result<Url> baseOf(const Text& text, const std::string& usualPath, bool allowPlainHttp) {
    auto url = parseBase(text.value, usualPath, allowPlainHttp);
    if (!url) {
        return failure(ErrorKind::invalidInput, text.origin + ": " + url.error().description);
    }
    return url;
}

Result<std::string> hostOf(const Text& text) {
    if (text.value.empty()) {
        return std::string();
    }
    const auto url = Url::parse("wss://" + text.value);
    // Written back it is the same only when it is a host and port and nothing else.
    if (!url || url->host().empty() || url->text() != "wss://" + text.value || !url->path().empty() ||
        !url->userInfo().empty()) {
        return failure(ErrorKind::invalidInput,
                       text.origin + " must be a host name, with a port where needed");
    }
    return text.value;
}

}  // namespace

Sources Sources::ofProcess() {
    const auto read = [](const char* name) -> std::optional<std::string> {
        const char* const value = std::getenv(name);
        return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    };
    return {UserFolders::config() / UserFolders::ownName / "deployment.json", read};
}

Result<Url> parseBase(const std::string& text, const std::string& usualPath, bool allowPlainHttp) {
    const bool isBareHost = !text.contains("://");
    auto url = Url::parse(isBareHost ? "https://" + text : text);
    if (isBareHost && url && url->isLoopback()) {
        url = Url::parse("http://" + text);  // as this machine's own relay speaks
    }
    const bool isTorn = isBareHost && text.contains(":/");  // a scheme with a slash too few
    if (!url || isTorn || url->host().empty() || (url->scheme() != "https" && url->scheme() != "http")) {
        return failure(ErrorKind::invalidInput, "must be an http or https URL, or a host name");
    }
    if (!url->userInfo().empty() || !url->query().empty() || text.contains('#')) {
        return failure(ErrorKind::invalidInput, "must have no user name, query or fragment");
    }
    if (!mayCarryToken(*url, allowPlainHttp)) {
        return failure(ErrorKind::invalidInput,
                       url->text() +
                           " would send the sign-in unencrypted to another machine; use https, or set "
                           "\"allowPlainHttp\": true in deployment.json for a network of your own");
    }
    if (url->path().empty() || url->path() == "/") {
        return url->withPath(usualPath);
    }
    return *url;
}

bool mayCarryToken(const Url& url, bool allowPlainHttp) {
    return url.isSecure() || url.isLoopback() || allowPlainHttp;
}

Result<DeploymentValues> load(const Sources& sources) {
    Texts texts;
    if (const auto read = readInto(texts, sources.file); !read) {
        return std::unexpected(read.error());
    }
    for (const auto& [name, target] :
         {std::pair("TARN_API_URL", &texts.api), std::pair("TARN_WEB_URL", &texts.web),
          std::pair("TARN_ISSUES_URL", &texts.issues), std::pair("TARN_SERVICE_HOST", &texts.service)}) {
        if (const auto value = sources.variable(name); value && !value->empty()) {
            *target = Text{*value, name};
        }
    }

    DeploymentValues values;
    values.allowPlainHttp = texts.allowPlainHttp;
    values.signInProviders = std::move(texts.providers);
    const auto api = baseOf(texts.api.value_or(Text{std::string(localRelay) + apiPath, "default"}), apiPath,
                            texts.allowPlainHttp);
    if (!api) {
        return std::unexpected(api.error());
    }
    values.apiBase = *api;
    values.isCompiledDefault = !texts.api;
    // The sign-in page is on the account server unless something else is said.
    const auto web =
        texts.web ? baseOf(*texts.web, "", texts.allowPlainHttp) : Result<Url>(api->withPath(""));
    if (!web) {
        return std::unexpected(web.error());
    }
    values.webBase = *web;
    if (texts.issues) {
        // No token goes there, so plain http is nobody's harm.
        const auto issues = baseOf(*texts.issues, "", true);
        if (!issues) {
            return std::unexpected(issues.error());
        }
        values.issuesPage = *issues;
    }
    if (texts.service) {
        auto host = hostOf(*texts.service);
        if (!host) {
            return std::unexpected(host.error());
        }
        values.serviceHost = std::move(*host);
    }
    return values;
}

NetworkContext networkFor(const DeploymentValues& values) {
    auto network = NetworkContext::shared();
    if (values.isCompiledDefault) {
        network.mayUse = [](const Url& url) { return checkListenerIsOurs(url.portOrDefault()); };
    }
    return network;
}

Result<void> mayOpenPage(const DeploymentValues& values) {
    const auto& page = values.webBase;
    const bool isTheRelays = page.hostHeader() == values.apiBase.hostHeader();
    return values.isCompiledDefault && isTheRelays ? checkListenerIsOurs(page.portOrDefault())
                                                   : Result<void>();
}

const Result<DeploymentValues>& current() {
    static const auto values = load(Sources::ofProcess());
    return values;
}

std::string serviceHost() {
    const auto& values = current();
    return values ? values->serviceHost : std::string();
}

}  // namespace tarn::Deployment
