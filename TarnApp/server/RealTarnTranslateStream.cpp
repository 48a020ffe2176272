#include "RealTarnTranslateStream.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <utility>

#include "TarnCore/realtime/QwenClient.h"

namespace tarn {
namespace {

/// The most that unread events may weigh. Voice is weighed so that a minute of it reaches the limit, however
/// small it is beside texts.
constexpr std::size_t mostUnread = std::size_t{8} * 1024 * 1024;
constexpr std::size_t minuteOfVoice = std::size_t{60} * 24000 * 2;  // bytes

std::size_t weigh(const TarnTranslateEvent& event) {
    std::size_t weight = sizeof event;
    if (const auto* const audio = std::get_if<translate::TranslatedAudio>(&event)) {
        weight += audio->bytes.size() * mostUnread / minuteOfVoice;
    } else if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        weight += source->text.size();
    } else if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        weight += translation->text.size();
    } else if (const auto* const error = std::get_if<translate::Error>(&event)) {
        weight += error->message.size();
    }
    return weight;
}

Task<void> closeAndFinish(std::shared_ptr<QwenClient> client, EventQueue<TarnTranslateEvent> events) {
    co_await client->close();
    events.push(translate::Closed{});
    events.finish();
}

/// Holds the client until its connection has ended.
Task<void> tellDeath(std::shared_ptr<QwenClient> client, EventQueue<ConnectionHealth> health) {
    const std::string reason = co_await client->waitDead();
    if (!reason.empty()) {
        health.push({ConnectionHealth::State::lost, reason, client->isRefusedByService()});
    }
    health.finish();
}

}  // namespace

RealTarnTranslateStream::RealTarnTranslateStream(EventQueue<TarnTranslateEvent> events,
                                                 EventQueue<ConnectionHealth> health,
                                                 std::shared_ptr<QwenClient> client, SerialExecutor network)
    : events_(std::move(events)),
      health_(std::move(health)),
      client_(std::move(client)),
      network_(std::move(network)) {}

Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> RealTarnTranslateStream::open(
    Url url, std::string pat, QwenConfig config, NetworkContext network) {
    const auto events = boundedEvents();
    auto onAudio = [events](std::vector<std::byte> bytes) {
        events.push(translate::TranslatedAudio{std::move(bytes)});
    };
    auto onTranscript = [events](TranscriptKind kind, std::string text, bool isFinal) {
        if (kind == TranscriptKind::source) {
            events.push(translate::SourceText{std::move(text), isFinal});
        } else {
            events.push(translate::TranslatedText{std::move(text), isFinal});
        }
    };
    auto onTarnEvent = [events](TarnServerEvent event) {
        if (event.kind == TarnServerEvent::Kind::error) {
            events.push(translate::Error{std::move(event.message)});
        } else {
            events.push(translate::Unauthorized{});
        }
    };
    auto client =
        std::make_shared<QwenClient>(std::move(url), "Bearer " + pat, std::move(config), std::move(onAudio),
                                     std::move(onTranscript), std::move(onTarnEvent), network);
    const EventQueue<ConnectionHealth> health;
    client->onHealth = [health](ConnectionHealth now) { health.push(std::move(now)); };
    client->roomForEvents = [events] { return events.room(); };
    client->setOnProgress([events](StreamProgress progress) { events.push(std::move(progress)); });
    client->onGap = [events](double seconds) { events.push(translate::Gap{seconds}); };
    const auto connected = co_await client->connect();
    if (!connected) {
        events.finish();
        // The server's words are shown and logged, so a refusal that repeats the token is left out.
        const bool repeatsToken = !pat.empty() && client->refusal().contains(pat);
        const std::string said = repeatsToken ? std::string() : client->refusal();
        co_return std::unexpected(TarnServerError::transport(connected.error(), said));
    }
    asio::co_spawn(network.executor, tellDeath(client, health), asio::detached);
    co_return std::shared_ptr<TarnTranslateStream>(
        new RealTarnTranslateStream(events, health, std::move(client), network.executor));
}

EventQueue<TarnTranslateEvent> RealTarnTranslateStream::boundedEvents() {
    return {mostUnread, weigh};
}

RealTarnTranslateStream::~RealTarnTranslateStream() {
    events_.finish();
    // The open connection holds the client, which would therefore outlive this without a `close`.
    asio::co_spawn(network_, client_->close(), asio::detached);
}

Task<void> RealTarnTranslateStream::sendAudio(std::vector<std::byte> bytes) {
    return client_->sendAudio(std::move(bytes));
}

void RealTarnTranslateStream::queueAudio(std::vector<std::byte> bytes) {
    client_->queueAudio(std::move(bytes));
}

Task<bool> RealTarnTranslateStream::waitHeard() {
    return client_->waitHeard();
}

Task<void> RealTarnTranslateStream::close() {
    return closeAndFinish(client_, events_);
}

bool RealTarnTranslateStream::isAlive() const {
    return client_->isAlive();
}

Task<std::string> RealTarnTranslateStream::waitDead() {
    return client_->waitDead();
}

}  // namespace tarn
