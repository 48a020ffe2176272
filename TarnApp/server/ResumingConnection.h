#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <memory>
#include <string>

#include "KeptSound.h"
#include "Reopening.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "UtteranceLedger.h"

namespace tarn {

/// What is behind a `ResumingTranslateStream`: an actor that goes from one connection to the next.
///
/// Threads: all of its state belongs to a strand of its own; its public operations may be called on any
/// thread. Ownership: by `shared_ptr`; its tasks keep it alive until `close` or `drop`.
class ResumingConnection : public std::enable_shared_from_this<ResumingConnection> {
public:
    using Stream = ResumeParts::Stream;

    /// A server that has not answered for this long is left.
    static constexpr std::chrono::seconds silentAtMost{5};
    /// How much faster than it was spoken the kept sound is sent.
    static constexpr int catchUpPace = 4;
    /// A connection that has lasted for this long was a success.
    static constexpr std::chrono::seconds provenAfter{10};
    /// Of sound in which the service has told of no speech yet, this much may hold the beginning of some:
    /// what a client keeps unsent at most, and the time to notice.
    static constexpr std::chrono::seconds heardLate{12};
    /// For so long after the network has come back, a connection that does not answer is left at once.
    static constexpr std::chrono::seconds suspectFor{10};

    explicit ResumingConnection(ResumeParts parts);

    /// Call once, first. `first`: a connection that has just been opened.
    void begin(Stream first);

    const EventQueue<TarnTranslateEvent>& events() const { return events_; }
    const EventQueue<ConnectionHealth>& health() const { return health_; }
    Task<void> sendAudio(std::vector<std::byte> bytes);
    void queueAudio(std::vector<std::byte> bytes);
    Task<bool> waitHeard();
    Task<void> close();
    /// As `close`, for an owner that goes away.
    void drop();
    bool isAlive() const { return alive_.load(); }
    Task<std::string> waitDead();

private:
    /// One of the connections.
    struct Link {
        Stream stream;
        bool isStandIn = false;
        std::uint64_t sent = 0;  ///< up to where it has been given the sound
        bool isLive = false;     ///< it has been given all there was
        std::uint64_t liveFrom = 0;
        bool isBehind = false;  ///< so far that it is told
        bool isOver = false;
        ConnectionHealth health;
        TaskHandle eventReader;
        TaskHandle healthReader;
        TaskHandle sender;
        TaskHandle returning;
        std::unique_ptr<ScheduledCall> patience;  ///< until the server has to answer
        std::unique_ptr<ScheduledCall> proof;
    };

    /// Who waits in `sendAudio` for sound to leave that ends at `end`.
    struct Sender {
        std::uint64_t end;
        asio::steady_timer bell;
    };

    static Task<void> run(std::shared_ptr<ResumingConnection> self, Stream first);
    static Task<void> readEvents(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link);
    static Task<void> readHealth(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link);
    static Task<void> catchUp(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link);
    static Task<void> returnToService(std::shared_ptr<ResumingConnection> self);
    static Task<void> leave(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link);
    static Task<std::optional<Reopening::Found>> following(std::shared_ptr<ResumingConnection> self,
                                                           std::shared_ptr<Link> link);
    static Task<void> send(std::shared_ptr<ResumingConnection> self, std::vector<std::byte> bytes);
    static Task<bool> waitUntilHeard(std::shared_ptr<ResumingConnection> self);
    static Task<void> closeOnStrand(std::shared_ptr<ResumingConnection> self);
    static Task<std::string> waitUntilDead(std::shared_ptr<ResumingConnection> self);
    static Task<void> closeUnheard(Stream stream);

    std::shared_ptr<Link> connect(Reopening::Found found);
    void takeSound(std::vector<std::byte> bytes);
    void take(const Link& link, TarnTranslateEvent event);
    void takeHealth(Link& link, ConnectionHealth health);
    void leaveSilent(Link& link);
    void isBack();
    void forgetSilence(const Link& link);
    void tell();
    void tellDropped(double gap);
    void end(ConnectionHealth lost);
    void shut();
    bool mayReturn() const { return returned_ && ledger_.isIdle(); }
    bool takesSound() const { return !isEnded_ && !isClosing_; }
    void releaseSenders();
    void ring() {
        changed_.cancel();
        releaseSenders();
    }

    const ResumeParts parts_;
    const SerialExecutor strand_;
    const EventQueue<TarnTranslateEvent> events_;
    const EventQueue<ConnectionHealth> health_;
    std::shared_ptr<void> networkWatch_;

    // Strand only.
    KeptSound kept_;
    UtteranceLedger ledger_;
    Reopening reopening_;
    std::shared_ptr<Link> link_;  ///< none while there is no connection
    Stream returned_;             ///< to the service, waiting to take over from the stand-in
    ConnectionHealth told_;
    ConnectionHealth lost_;  ///< why the latest connection ended
    std::optional<Clock::TimePoint> suspectUntil_;
    std::deque<std::shared_ptr<Sender>> senders_;
    bool isRefused_ = false;  ///< the token
    bool isEnded_ = false;
    bool isClosing_ = false;
    bool isShut_ = false;
    asio::steady_timer changed_;  ///< cancelled when what somebody waits for may have come

    // Any thread.
    std::atomic<bool> alive_{true};
};

}  // namespace tarn
