#pragma once

#include <memory>

#include "TarnCore/realtime/QwenConfig.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"
#include "TarnServerError.h"
#include "TarnTranslateStream.h"

namespace tarn {

class QwenClient;

/// A translate stream over one relay connection. Destroying it without `close` drops the connection as
/// `close` does, without waiting.
class RealTarnTranslateStream final : public TarnTranslateStream {
public:
    /// Opens the relay at `url` with the access token `pat`. The only failure is `transport`; a refused token
    /// leaves the status 401 in its error.
    static Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> open(
        Url url, std::string pat, QwenConfig config, NetworkContext network = NetworkContext::shared());

    ~RealTarnTranslateStream() override;

    /// A queue whose writer is to wait for `room` while 8 MiB of events or a minute of voice is unread.
    static EventQueue<TarnTranslateEvent> boundedEvents();

    const EventQueue<TarnTranslateEvent>& events() const override { return events_; }
    const EventQueue<ConnectionHealth>& health() const override { return health_; }
    Task<void> sendAudio(std::vector<std::byte> bytes) override;
    void queueAudio(std::vector<std::byte> bytes) override;
    Task<bool> waitHeard() override;
    Task<void> close() override;
    bool isAlive() const override;
    Task<std::string> waitDead() override;

private:
    RealTarnTranslateStream(EventQueue<TarnTranslateEvent> events, EventQueue<ConnectionHealth> health,
                            std::shared_ptr<QwenClient> client, SerialExecutor network);

    const EventQueue<TarnTranslateEvent> events_;
    const EventQueue<ConnectionHealth> health_;
    const std::shared_ptr<QwenClient> client_;
    const SerialExecutor network_;
};

}  // namespace tarn
