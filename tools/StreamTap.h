#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "TarnApp/server/RealTarnTranslateStream.h"
#include "TarnApp/server/TarnServerClient.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn::cli {

class TappedStream;

/// Sees what passes between a session and its server, before the session does. Thread: main.
class StreamObserver {
public:
    virtual ~StreamObserver() = default;
    virtual void opened(std::shared_ptr<TappedStream> stream) = 0;
    virtual void failedToOpen(const TarnServerError& error) = 0;
    virtual void event(const TappedStream& stream, const TarnTranslateEvent& event) = 0;
    virtual void ended(const TappedStream& stream) = 0;  ///< after the last event
};

/// A session's stream that the command line looks into. Its events are copies of the inner stream's.
class TappedStream final : public TarnTranslateStream, public std::enable_shared_from_this<TappedStream> {
public:
    /// `main`: the executor of the main thread.
    TappedStream(std::shared_ptr<TarnTranslateStream> inner, const SerialExecutor& main)
        : inner_(std::move(inner)), bell_(main, asio::steady_timer::time_point::max()) {}

    /// From now on silence goes out in place of what is captured, as fast, once less than a second of sound
    /// is on its way to the socket. Thread: any.
    void mute() { muted_ = true; }
    /// Seconds of sound given so far.
    double givenSeconds() const { return static_cast<double>(given_) / 32000; }
    /// Completes when less than a second of sound is on its way to the socket. Thread: main.
    static Task<void> waitForRoom(std::shared_ptr<TappedStream> self);

    const EventQueue<TarnTranslateEvent>& events() const override { return events_; }
    Task<void> sendAudio(std::vector<std::byte> bytes) override;
    void queueAudio(std::vector<std::byte> bytes) override;
    Task<bool> waitHeard() override { return inner_->waitHeard(); }
    /// The session hears no more of what comes until the end; the observer does.
    Task<void> close() override {
        events_.finish();
        return inner_->close();
    }
    bool isAlive() const override { return inner_->isAlive(); }
    Task<std::string> waitDead() override { return inner_->waitDead(); }
    const EventQueue<ConnectionHealth>& health() const override { return inner_->health(); }

    /// Shows every event to `observer` and then to whoever reads `events`, to the end; the voice, which would
    /// wait there for ever where nobody plays it, only where it is `played`.
    static Task<void> passEventsOn(std::shared_ptr<TappedStream> self,
                                   std::shared_ptr<StreamObserver> observer, bool played);

private:
    static Task<void> send(std::shared_ptr<TappedStream> self, std::vector<std::byte> bytes);

    const std::shared_ptr<TarnTranslateStream> inner_;
    const EventQueue<TarnTranslateEvent> events_ = RealTarnTranslateStream::boundedEvents();
    std::atomic<bool> muted_{false};
    std::atomic<std::size_t> unsent_{0};   ///< bytes
    std::atomic<std::uint64_t> given_{0};  ///< bytes
    std::atomic<bool> isAwaited_{false};
    asio::steady_timer bell_;  ///< main thread; cancelled when something was sent
};

/// `client`, whose streams `observer` sees. `playsVoice`: the translated voice is passed on.
std::shared_ptr<TarnServerClient> tapped(std::shared_ptr<TarnServerClient> client,
                                         std::shared_ptr<StreamObserver> observer, SerialExecutor main,
                                         bool playsVoice);

}  // namespace tarn::cli
