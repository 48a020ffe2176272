#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "PatProvider.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/net/HttpSession.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"
#include "TarnServerClient.h"

namespace tarn {

/// Talks to the account server under a base URL. Keeps no token: it asks for it every time, so that a sign-in
/// or sign-out counts from the next operation on.
///
/// A token goes nowhere in the clear but to this machine, unless plain http is allowed, and a token that no
/// header can hold goes nowhere at all: both fail with `transport`, and so does a keyring that does not tell.
class RealTarnServerClient final : public TarnServerClient,
                                   public std::enable_shared_from_this<RealTarnServerClient> {
public:
    enum class PlainHttp : bool { onlyLoopback, anywhere };

    RealTarnServerClient(Url baseURL, PatProvider patProvider,
                         std::shared_ptr<HttpSession> session = HttpSession::shared(),
                         NetworkContext network = NetworkContext::shared(),
                         PlainHttp plainHttp = PlainHttp::onlyLoopback);

    Task<ServerResult<UserAccount>> fetchMe() override;
    Task<ServerResult<EmptyResponse>> logout() override;
    Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openTranslateStream(
        std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
        std::string voiceClone, std::optional<int> silenceMs) override;

    /// Where the relay is and what it is told. Fails with `http(0, "could not build ws url")`.
    static ServerResult<Url> relayUrl(const Url& baseURL, const std::optional<std::string>& sourceLang,
                                      const std::string& targetLang, const std::optional<std::string>& voice,
                                      const std::string& voiceClone, std::optional<int> silenceMs);

private:
    Task<ServerResult<std::string>> usableToken() const;
    Task<ServerResult<HttpRequest>> makeRequest(std::string_view path, std::string_view method) const;
    template <typename Record>
    static Task<ServerResult<Record>> perform(std::shared_ptr<HttpSession> session, HttpRequest request);
    template <typename Record>
    Task<ServerResult<Record>> postJSON(std::string_view path, std::string body) const;

    const Url baseURL_;
    const PatProvider patProvider_;
    const std::shared_ptr<HttpSession> session_;
    const NetworkContext network_;
    const PlainHttp plainHttp_;
};

/// Makes the server client that a deployment asks for, on the process's shared network.
struct TarnServerClientFactory {
    static std::shared_ptr<TarnServerClient> make(const DeploymentValues& deployment,
                                                  PatProvider patProvider);
};

}  // namespace tarn
