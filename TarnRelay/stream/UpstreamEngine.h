#pragma once

#include <string>

#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"
#include "TranslationEngine.h"

namespace tarn::relay {

/// Passes every message on to the translation service and its answers back, unread, in order. The client's
/// own "session.update" configures the service.
class UpstreamEngine final : public TranslationEngine {
public:
    /// `endpoint`: the service's WebSocket. `key`: its API key; it appears in no log and no message.
    UpstreamEngine(Url endpoint, std::string key, NetworkContext network);

    /// The direct route of the service on a host, which may carry a port. Fails with `invalidInput`.
    static Result<Url> serviceEndpoint(const std::string& host);

    std::expected<std::unique_ptr<EngineStream>, Refusal> open(const StreamSettings& settings,
                                                               std::shared_ptr<EventSink> sink) override;

private:
    const Url endpoint_;
    const std::string key_;
    const NetworkContext network_;
};

}  // namespace tarn::relay
