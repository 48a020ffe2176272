#include "ResumingConnection.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <cmath>
#include <utility>

#include "RealTarnTranslateStream.h"
#include "TarnPlatform/base/CarryOut.h"

namespace tarn {
namespace {

using State = ConnectionHealth::State;

/// A server is blamed for its silence after this; see `ConnectionJudge::silentFrom`.
constexpr std::chrono::milliseconds blamedAfter{1500};
constexpr std::chrono::milliseconds pieceOfKept{200};
/// To be less behind is not told.
constexpr double leastBehind = 1;  // seconds
/// A gap that nobody would notice is not told.
constexpr double shortestGap = 0.5;  // seconds

constexpr auto never = asio::steady_timer::time_point::max();

double seconds(std::uint64_t bytes) {
    return static_cast<double>(bytes) / static_cast<double>(KeptSound::bytesPerSecond);
}

}  // namespace

ResumingConnection::ResumingConnection(ResumeParts parts)
    : parts_(std::move(parts)),
      strand_(asio::make_strand(parts_.network)),
      events_(RealTarnTranslateStream::boundedEvents()),
      reopening_(parts_, strand_),
      changed_(strand_, never) {}

void ResumingConnection::begin(Stream first) {
    if (parts_.watchNetwork) {
        networkWatch_ = parts_.watchNetwork(strand_, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->isBack();
            }
        });
    }
    TaskHandle::start(strand_, run(shared_from_this(), std::move(first)));
}

// A coroutine starts when it is first awaited, maybe after the caller has let go of the stream; so each gets
// its shared pointer here.

Task<void> ResumingConnection::sendAudio(std::vector<std::byte> bytes) {
    return carryOut(strand_, send(shared_from_this(), std::move(bytes)));
}

void ResumingConnection::queueAudio(std::vector<std::byte> bytes) {
    asio::post(strand_, [self = shared_from_this(), bytes = std::move(bytes)]() mutable {
        self->takeSound(std::move(bytes));
    });
}

Task<bool> ResumingConnection::waitHeard() {
    return carryOut(strand_, waitUntilHeard(shared_from_this()));
}

Task<void> ResumingConnection::close() {
    return carryOut(strand_, closeOnStrand(shared_from_this()));
}

void ResumingConnection::drop() {
    asio::post(strand_, [self = shared_from_this()] { self->shut(); });
}

Task<std::string> ResumingConnection::waitDead() {
    return carryOut(strand_, waitUntilDead(shared_from_this()));
}

Task<void> ResumingConnection::run(std::shared_ptr<ResumingConnection> self, Stream first) {
    Reopening::Found begun{std::move(first), false};
    std::optional<Reopening::Found> next(std::move(begun));
    while (next) {
        const auto link = self->connect(std::move(*next));
        while (!self->isClosing_ && !link->isOver && !self->mayReturn()) {
            co_await self->changed_.async_wait(asValue);
        }
        co_await leave(self, link);
        next = co_await following(self, link);
    }
    while (!self->isClosing_) {
        co_await self->changed_.async_wait(asValue);
    }
    self->networkWatch_.reset();
    self->alive_ = false;
    self->events_.push(translate::Closed{});
    self->events_.finish();
    self->health_.finish();
    self->isShut_ = true;
    self->ring();
}

std::shared_ptr<ResumingConnection::Link> ResumingConnection::connect(Reopening::Found found) {
    kept_.settleSilence();
    if (const double gap = kept_.takeDropped(); gap >= shortestGap) {
        tellDropped(gap);
    }
    const auto link = std::make_shared<Link>();
    link->stream = std::move(found.stream);
    link->isStandIn = found.isStandIn;
    link->sent = kept_.begin();
    link->liveFrom = link->sent;
    link->isLive = kept_.begin() == kept_.end();
    link->isBehind = seconds(kept_.end() - kept_.begin()) >= leastBehind;
    ledger_.connect(link->sent);
    link_ = link;
    const auto self = shared_from_this();
    link->eventReader = TaskHandle::start(strand_, readEvents(self, link));
    link->healthReader = TaskHandle::start(strand_, readHealth(self, link));
    if (!link->isLive) {
        link->sender = TaskHandle::start(strand_, catchUp(self, link));
    }
    if (link->isStandIn) {
        link->returning = TaskHandle::start(strand_, returnToService(self));
    } else {
        link->proof = parts_.clock->callAfter(strand_, provenAfter, [this] { reopening_.prove(); });
    }
    tell();
    return link;
}

/// Of sound that was kept no more.
void ResumingConnection::tellDropped(double gap) {
    const double begin = std::max(seconds(kept_.begin()) - gap, 0.0);
    events_.push(translate::Gap{gap, true, std::llround(begin * 1000)});
}

Task<void> ResumingConnection::leave(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link) {
    link->patience.reset();
    link->proof.reset();
    link->eventReader.cancel();
    link->healthReader.cancel();
    link->sender.cancel();
    link->returning.cancel();
    self->link_ = nullptr;
    self->ring();
    if (self->isClosing_) {
        auto closing = link->stream->close();
        co_await std::move(closing);
    }
    while (auto event = link->stream->events().tryNext()) {
        self->take(*link, std::move(*event));
    }
    if (!self->isClosing_) {
        TaskHandle::start(self->strand_, closeUnheard(link->stream));
    }
}

Task<void> ResumingConnection::closeUnheard(Stream stream) {
    auto closing = stream->close();
    co_await std::move(closing);
}

Task<std::optional<Reopening::Found>> ResumingConnection::following(std::shared_ptr<ResumingConnection> self,
                                                                    std::shared_ptr<Link> link) {
    if (self->isClosing_) {
        co_return std::nullopt;
    }
    if (!link->isOver) {
        self->reopening_.prove();
        co_return Reopening::Found{std::exchange(self->returned_, nullptr), false};
    }
    self->lost_ = link->health;
    if (self->isRefused_ || (self->lost_.refusedByService && !self->reopening_.mayTryAfterRefusal())) {
        self->end(self->lost_);
        co_return std::nullopt;
    }
    self->tell();
    auto next = co_await self->reopening_.next();
    if (!next && !self->isClosing_) {
        if (self->reopening_.isSignedOut()) {
            self->events_.push(translate::Unauthorized{});
        }
        self->end(self->lost_);
    }
    co_return next;
}

void ResumingConnection::end(ConnectionHealth lost) {
    lost.state = State::lost;
    lost.standIn = false;
    isEnded_ = true;
    lost_ = lost;
    alive_ = false;
    health_.push(std::move(lost));
    ring();
}

Task<void> ResumingConnection::returnToService(std::shared_ptr<ResumingConnection> self) {
    self->returned_ = co_await self->reopening_.serviceAgain();
    self->ring();
}

Task<void> ResumingConnection::readEvents(std::shared_ptr<ResumingConnection> self,
                                          std::shared_ptr<Link> link) {
    for (;;) {
        co_await self->events_.room();
        auto event = co_await link->stream->events().next();
        if (!event) {
            co_return;
        }
        self->take(*link, std::move(*event));
    }
}

void ResumingConnection::take(const Link& link, TarnTranslateEvent event) {
    if (std::holds_alternative<translate::Closed>(event)) {
        return;  // that connection alone
    }
    isRefused_ = isRefused_ || std::holds_alternative<translate::Unauthorized>(event);
    const auto before = ledger_.settled();
    auto told = ledger_.take(std::move(event), link.sent);
    kept_.settle(ledger_.settled());
    if (ledger_.settled() > before && !link.isStandIn) {
        reopening_.prove();
    }
    if (told) {
        events_.push(std::move(*told));
    }
    if (mayReturn()) {
        ring();
    }
}

Task<void> ResumingConnection::readHealth(std::shared_ptr<ResumingConnection> self,
                                          std::shared_ptr<Link> link) {
    for (;;) {
        auto health = co_await link->stream->health().next();
        if (!health) {
            co_return;
        }
        self->takeHealth(*link, std::move(*health));
    }
}

void ResumingConnection::takeHealth(Link& link, ConnectionHealth health) {
    const bool isSilentStill = link.patience && health.state == State::stalled;
    link.health = std::move(health);
    if (isSilentStill) {
        return;
    }
    link.patience.reset();
    if (link.health.state == State::lost) {
        link.isOver = true;
        ring();
        return;
    }
    if (link.health.state == State::stalled) {
        const bool isSuspect = suspectUntil_ && parts_.clock->now() < *suspectUntil_;
        const Clock::Duration wait = silentAtMost - blamedAfter;
        link.patience = parts_.clock->callAfter(strand_, isSuspect ? Clock::Duration(0) : wait,
                                                [this, &link] { leaveSilent(link); });
    }
    tell();
}

void ResumingConnection::leaveSilent(Link& link) {
    link.health = {.state = State::lost, .reason = "the server does not answer"};
    link.isOver = true;
    ring();
}

void ResumingConnection::isBack() {
    suspectUntil_ = parts_.clock->now() + suspectFor;
    reopening_.hurry();
    if (link_ && link_->health.state == State::stalled) {
        leaveSilent(*link_);
    }
}

Task<void> ResumingConnection::catchUp(std::shared_ptr<ResumingConnection> self, std::shared_ptr<Link> link) {
    const auto clock = self->parts_.clock;
    const auto start = clock->now();
    Clock::Duration spoken{0};
    while (link->sent < self->kept_.end()) {
        if (link->sent < self->kept_.begin()) {
            // It goes out more slowly than it is spoken.
            self->ledger_.leaveOut(link->sent, self->kept_.begin() - link->sent);
            link->sent = self->kept_.begin();
            if (const double gap = self->kept_.takeDropped(); gap > 0) {
                self->tellDropped(gap);
            }
        }
        auto piece = self->kept_.read(link->sent, static_cast<std::size_t>(KeptSound::bytesOf(pieceOfKept)));
        link->sent += piece.size();
        spoken +=
            std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>(seconds(piece.size())));
        self->tell();
        auto sending = link->stream->sendAudio(std::move(piece));
        co_await std::move(sending);
        self->releaseSenders();
        const auto due = start + spoken / catchUpPace;
        if (const auto now = clock->now(); now < due) {
            co_await sleepFor(clock, due - now);
        }
    }
    link->isLive = true;
    link->liveFrom = link->sent;
    self->tell();
    self->ring();
}

void ResumingConnection::takeSound(std::vector<std::byte> bytes) {
    if (!takesSound()) {
        return;
    }
    if (link_ && link_->isLive) {
        kept_.append(bytes);
        link_->sent = kept_.end();
        link_->stream->queueAudio(std::move(bytes));
        forgetSilence(*link_);
    } else {
        kept_.append(std::move(bytes));
        releaseSenders();
        tell();
    }
}

void ResumingConnection::forgetSilence(const Link& link) {
    ledger_.forgetNoise(link.sent);
    const std::uint64_t late = KeptSound::bytesOf(heardLate);
    // A server that hangs tells of no speech either.
    const bool wouldHaveTold = link.health.state != State::stalled && link.sent > link.liveFrom + late;
    if (ledger_.hasMarks() && ledger_.isIdle() && wouldHaveTold) {
        kept_.settle(link.sent - late);
    }
}

Task<void> ResumingConnection::send(std::shared_ptr<ResumingConnection> self, std::vector<std::byte> bytes) {
    if (!self->takesSound()) {
        co_return;
    }
    if (const auto link = self->link_; link && link->isLive) {
        self->kept_.append(bytes);
        link->sent = self->kept_.end();
        auto sending = link->stream->sendAudio(std::move(bytes));
        co_await std::move(sending);
        co_return;
    }
    self->takeSound(std::move(bytes));
    auto sender = std::make_shared<Sender>(self->kept_.end(), asio::steady_timer(self->strand_, never));
    self->senders_.push_back(sender);
    co_await sender->bell.async_wait(asValue);
}

/// Those whose sound has left, or never will, since it was kept for too long.
void ResumingConnection::releaseSenders() {
    const std::uint64_t left = std::max(kept_.begin(), link_ ? link_->sent : 0);
    while (!senders_.empty() && (!takesSound() || senders_.front()->end <= left)) {
        senders_.front()->bell.cancel();
        senders_.pop_front();
    }
}

Task<bool> ResumingConnection::waitUntilHeard(std::shared_ptr<ResumingConnection> self) {
    while (self->takesSound()) {
        if (const auto link = self->link_; link && link->isLive) {
            auto hearing = link->stream->waitHeard();
            if (co_await std::move(hearing)) {
                co_return true;
            }
            while (self->link_ == link && self->takesSound()) {
                co_await self->changed_.async_wait(asValue);
            }
        } else {
            co_await self->changed_.async_wait(asValue);
        }
    }
    co_return false;
}

Task<void> ResumingConnection::closeOnStrand(std::shared_ptr<ResumingConnection> self) {
    self->shut();
    while (!self->isShut_) {
        co_await self->changed_.async_wait(asValue);
    }
}

void ResumingConnection::shut() {
    isClosing_ = true;
    reopening_.stop();
    ring();
}

Task<std::string> ResumingConnection::waitUntilDead(std::shared_ptr<ResumingConnection> self) {
    while (!self->isEnded_ && !self->isShut_) {
        co_await self->changed_.async_wait(asValue);
    }
    co_return self->isEnded_ ? self->lost_.reason : "";
}

void ResumingConnection::tell() {
    if (isEnded_ || isClosing_) {
        return;
    }
    ConnectionHealth now;
    if (!link_) {
        now.state = State::resuming;
        now.reason = lost_.reason;
    } else {
        now = link_->health;
        const double behind = std::round(seconds(kept_.end() - std::min(link_->sent, kept_.end())));
        if (now.state != State::stalled && !link_->isLive && link_->isBehind) {
            now.state = State::catchingUp;
            now.behindSeconds = std::max(1.0, behind);
            // Sound comes and goes in pieces: a number that falls must not waver on its way.
            if (told_.state == State::catchingUp && now.behindSeconds == told_.behindSeconds + 1) {
                now.behindSeconds = told_.behindSeconds;
            }
        }
        now.standIn = link_->isStandIn;
    }
    if (now != told_) {
        told_ = now;
        health_.push(std::move(now));
    }
}

}  // namespace tarn
