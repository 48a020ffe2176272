#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "TarnPlatform/base/Clock.h"
#include "TarnServerError.h"
#include "TarnTranslateStream.h"

namespace tarn {

class ResumingConnection;

/// What a stream that outlives its connections needs of its surroundings. Copies share what is behind it.
struct ResumeParts {
    using Stream = std::shared_ptr<TarnTranslateStream>;
    /// Opens one connection. Thread: `main`. Cancelling it ends the attempt.
    using Open = std::function<Task<ServerResult<Stream>>()>;
    /// Has `isBack` called on an executor when the network comes back or the machine wakes, as long as what
    /// it returns lives, which is released there.
    using Watch = std::function<std::shared_ptr<void>(SerialExecutor executor, std::function<void()> isBack)>;

    Open open;
    Open openStandIn{};    ///< of what translates while the service is away; may be empty
    Watch watchNetwork{};  ///< may be empty
    SerialExecutor main;
    SerialExecutor network;  ///< a strand of its own is made on it
    std::shared_ptr<Clock> clock;
    std::optional<Clock::Duration> giveUpAfter{};  ///< without a connection; none: never
};

/// A stream that outlives its connections. Where one is lost, or has not answered for 5 s, another is tried,
/// at growing intervals and at once when the network comes back; it is sent, at four times the pace of
/// speech, what was said since the last utterance that is finished (the newest 120 s), and then goes on live.
/// What comes of that sound a second time is not told twice; sound that was kept no more is told as a `Gap`.
///
/// It ends where the token is refused, where the service has refused four times in a row, or where
/// `giveUpAfter` has passed: `health` then tells `lost`. What happens until then it tells as `resuming` and
/// `catchingUp`.
///
/// Thread: as `TarnTranslateStream`. Destroying it without `close` drops the connection.
class ResumingTranslateStream final : public TarnTranslateStream {
public:
    /// `first`: a connection that has just been opened.
    ResumingTranslateStream(std::shared_ptr<TarnTranslateStream> first, ResumeParts parts);
    ~ResumingTranslateStream() override;

    const EventQueue<TarnTranslateEvent>& events() const override;
    const EventQueue<ConnectionHealth>& health() const override;
    /// Completes also where the connection has been lost meanwhile, once the bytes have left over another.
    Task<void> sendAudio(std::vector<std::byte> bytes) override;
    void queueAudio(std::vector<std::byte> bytes) override;
    Task<bool> waitHeard() override;
    Task<void> close() override;
    bool isAlive() const override;
    Task<std::string> waitDead() override;

private:
    const std::shared_ptr<ResumingConnection> connection_;
};

}  // namespace tarn
