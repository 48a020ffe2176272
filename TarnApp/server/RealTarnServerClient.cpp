#include "RealTarnServerClient.h"

#include <algorithm>
#include <chrono>
#include <type_traits>
#include <utility>
#include <vector>

#include "JsonRecords.h"
#include "RealTarnTranslateStream.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnCore/realtime/QwenConfig.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds requestTimeout{60};

std::optional<std::string> nonEmpty(std::optional<std::string> text) {
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

bool fitsInHeader(std::string_view token) {
    return std::ranges::none_of(token, [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

}  // namespace

RealTarnServerClient::RealTarnServerClient(Url baseURL, PatProvider patProvider,
                                           std::shared_ptr<HttpSession> session, NetworkContext network,
                                           PlainHttp plainHttp)
    : baseURL_(std::move(baseURL)),
      patProvider_(std::move(patProvider)),
      session_(std::move(session)),
      network_(std::move(network)),
      plainHttp_(plainHttp) {}

Task<ServerResult<std::string>> RealTarnServerClient::usableToken() const {
    auto asking = patProvider_();
    auto answer = co_await std::move(asking);
    if (!answer) {
        co_return std::unexpected(TarnServerError::transport(keyringError(answer.error())));
    }
    auto& token = *answer;
    if (!token) {
        co_return std::unexpected(TarnServerError::notAuthenticated());
    }
    if (!fitsInHeader(*token)) {
        co_return std::unexpected(TarnServerError::transport(
            {ErrorKind::invalidInput, "the access token holds control characters and was not sent", 0}));
    }
    if (!Deployment::mayCarryToken(baseURL_, plainHttp_ == PlainHttp::anywhere)) {
        co_return std::unexpected(TarnServerError::transport(
            {ErrorKind::invalidInput,
             "the access token is not sent unencrypted to " + baseURL_.hostHeader() + "; use https", 0}));
    }
    co_return std::move(*token);
}

Task<ServerResult<HttpRequest>> RealTarnServerClient::makeRequest(std::string_view path,
                                                                  std::string_view method) const {
    const auto token = co_await usableToken();
    if (!token) {
        co_return std::unexpected(token.error());
    }
    if (path.starts_with('/')) {
        path.remove_prefix(1);
    }
    HttpRequest request;
    request.method = method;
    request.url = baseURL_.appendingPathComponent(path);
    request.headers = {{"Authorization", "Bearer " + *token},
                       {"Content-Type", "application/json"},
                       {"User-Agent", Deployment::userAgent}};
    request.timeout = requestTimeout;
    co_return request;
}

template <typename Record>
Task<ServerResult<Record>> RealTarnServerClient::perform(std::shared_ptr<HttpSession> session,
                                                         HttpRequest request) {
    auto answer = co_await session->send(std::move(request));
    if (!answer) {
        co_return std::unexpected(TarnServerError::transport(answer.error()));
    }
    if (answer->status < 200 || answer->status > 299) {
        auto body = isUtf8(answer->body) ? std::optional(std::move(answer->body)) : std::nullopt;
        co_return std::unexpected(TarnServerError::http(answer->status, std::move(body)));
    }
    if constexpr (std::is_same_v<Record, EmptyResponse>) {
        co_return EmptyResponse{};
    } else {
        auto record = decodeRecord<Record>(answer->body);
        if (!record) {
            co_return std::unexpected(TarnServerError::decoding(record.error()));
        }
        co_return std::move(*record);
    }
}

template <typename Record>
Task<ServerResult<Record>> RealTarnServerClient::postJSON(std::string_view path, std::string body) const {
    auto request = co_await makeRequest(path, "POST");
    if (!request) {
        co_return std::unexpected(request.error());
    }
    request->body = std::move(body);
    co_return co_await perform<Record>(session_, std::move(*request));
}

Task<ServerResult<UserAccount>> RealTarnServerClient::fetchMe() {
    auto request = co_await makeRequest("/api/me", "GET");
    if (!request) {
        co_return std::unexpected(request.error());
    }
    co_return co_await perform<UserAccount>(session_, std::move(*request));
}

Task<ServerResult<EmptyResponse>> RealTarnServerClient::logout() {
    std::string emptyObject = "{}";
    co_return co_await postJSON<EmptyResponse>("/api/logout", std::move(emptyObject));
}

ServerResult<Url> RealTarnServerClient::relayUrl(
    const Url& baseURL, const std::optional<std::string>& sourceLang, const std::string& targetLang,
    const std::optional<std::string>& voice, const std::string& voiceClone, std::optional<int> silenceMs) {
    // The URL is built from scheme, host, port and path alone, so a user name or query in the base is
    // dropped.
    auto path = baseURL.path();
    if (path.ends_with('/')) {
        path.pop_back();
    }
    path += "/ws/translate-stream";
    if (baseURL.host().empty() || !path.starts_with('/')) {
        return std::unexpected(TarnServerError::http(0, "could not build ws url"));
    }
    const auto& host = baseURL.host();
    std::string text = baseURL.scheme() == "http" ? "ws://" : "wss://";
    text += host.contains(':') ? "[" + host + "]" : host;
    if (const auto port = baseURL.port()) {
        text += ":" + std::to_string(*port);
    }
    const auto url = Url::parse(text + path);
    if (!url) {
        return std::unexpected(TarnServerError::http(0, "could not build ws url"));
    }

    std::vector<QueryItem> items{{"target", targetLang}};
    if (sourceLang && !sourceLang->empty()) {
        items.emplace_back("source", *sourceLang);
    }
    if (voice && !voice->empty()) {
        items.emplace_back("voice", *voice);
    }
    if (voiceClone != "none") {
        items.emplace_back("clone", voiceClone);
    }
    if (silenceMs) {
        items.emplace_back("vad_ms", std::to_string(*silenceMs));
    }
    return url->withQueryItems(items);
}

Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> RealTarnServerClient::openTranslateStream(
    std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
    std::string voiceClone, std::optional<int> silenceMs) {
    auto token = co_await usableToken();
    if (!token) {
        co_return std::unexpected(token.error());
    }
    auto url = relayUrl(baseURL_, sourceLang, targetLang, voice, voiceClone, silenceMs);
    if (!url) {
        co_return std::unexpected(url.error());
    }
    QwenConfig config(nonEmpty(std::move(sourceLang)), std::move(targetLang), nonEmpty(std::move(voice)),
                      std::move(voiceClone), silenceMs);
    co_return co_await RealTarnTranslateStream::open(std::move(*url), std::move(*token), std::move(config),
                                                     network_);
}

std::shared_ptr<TarnServerClient> TarnServerClientFactory::make(const DeploymentValues& deployment,
                                                                PatProvider patProvider) {
    using PlainHttp = RealTarnServerClient::PlainHttp;
    const auto network = Deployment::networkFor(deployment);
    return std::make_shared<RealTarnServerClient>(
        deployment.apiBase, std::move(patProvider), HttpSession::make(network), network,
        deployment.allowPlainHttp ? PlainHttp::anywhere : PlainHttp::onlyLoopback);
}

}  // namespace tarn
