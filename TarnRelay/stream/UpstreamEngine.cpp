#include "UpstreamEngine.h"

#include <atomic>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/json.hpp>
#include <optional>
#include <string_view>
#include <utility>

#include "TarnCore/realtime/EventNames.h"
#include "TarnCore/realtime/EventProtocol.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/net/WebSocketTask.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

/// A limit on the messages that wait for a slow service; it is over four minutes of a client's audio.
constexpr std::size_t maxWaitingBytes = 8UZ * 1024 * 1024;
constexpr std::chrono::seconds connectLimit{20};

/// Code and message of an "error" event of the service, fit to be shown; nothing for any other event.
std::optional<std::string> complaintIn(std::string_view event) {
    // Nearly all events are sound or texts, which need not be parsed here: the size and a plain search sort
    // them out.
    constexpr std::size_t longestEvent = 16384;
    if (event.size() > longestEvent || event.find("\"error\"") == std::string_view::npos) {
        return std::nullopt;
    }
    boost::system::error_code invalid;
    const auto value = json::parse(event, invalid);
    const auto* const object = invalid ? nullptr : value.if_object();
    const auto* const type = object == nullptr ? nullptr : object->if_contains("type");
    if (type == nullptr || *type != json::value(events::error)) {
        return std::nullopt;
    }
    return "the translation service refuses: " + printable(complaintOf(*object));
}

/// One client's connection to the service. Thread: its own strand, except where said.
class Passage : public std::enable_shared_from_this<Passage> {
public:
    Passage(WebSocketRequest request, const NetworkContext& network, std::shared_ptr<EventSink> sink)
        : executor_(asio::make_strand(network.executor)),
          service_(WebSocketTask::make(executor_, std::move(request), network)),
          sink_(std::move(sink)) {}

    /// Thread: any.
    void start() { asio::co_spawn(executor_, run(shared_from_this()), logFailure); }

    /// Thread: any.
    void forward(std::string message) {
        const auto size = message.size();
        if (waitingBytes_.fetch_add(size) + size > maxWaitingBytes) {
            asio::post(executor_, [self = shared_from_this()] {
                self->giveUp("the translation service does not keep up with the audio");
            });
            return;
        }
        waiting_.push(std::move(message));
    }

    /// The client has gone. Thread: any.
    void leave() {
        asio::post(executor_, [self = shared_from_this()] { self->end(); });
    }

private:
    static void logFailure(const std::exception_ptr& exception) {
        if (exception) {
            logLine("[relay] a passage to the translation service failed inside the relay");
        }
    }

    static Task<void> run(std::shared_ptr<Passage> self) {
        const auto connected = co_await self->service_->resume();
        if (!connected) {
            self->giveUp(self->connectFailure(connected.error()));
            co_return;
        }
        asio::co_spawn(self->executor_, forwardAll(self), logFailure);
        for (;;) {
            auto message = co_await self->service_->receive();
            if (!message) {
                self->giveUp(self->breakFailure());
                co_return;
            }
            if (const auto complaint = complaintIn(message->payload)) {
                // The explanation goes first, because the event ends the client's connection.
                self->sink_->send(errorEvent(*complaint));
            }
            self->sink_->send(std::move(message->payload));
        }
    }

    static Task<void> forwardAll(std::shared_ptr<Passage> self) {
        for (;;) {
            auto message = co_await self->waiting_.next();
            if (!message) {
                co_return;
            }
            const auto size = message->size();
            const auto sent = co_await self->service_->send(std::move(*message));
            self->waitingBytes_.fetch_sub(size);
            if (!sent) {
                co_return;  // `run` learns of it as well, with the reason, and tells the client
            }
        }
    }

    std::string connectFailure(const Error& error) const {
        const auto status = service_->upgradeStatus().value_or(0);
        if (status == 401 || status == 403) {
            return "the translation service refused the relay's key";
        }
        return "the translation service cannot be reached: " + error.description;
    }

    std::string breakFailure() const {
        const auto code = service_->closeCode();
        return code ? "the translation service closed the connection with code " + std::to_string(*code)
                    : std::string("the connection to the translation service broke");
    }

    void giveUp(const std::string& message) {
        if (ended_) {
            return;
        }
        logLine("[relay] " + message);
        sink_->send(errorEvent(message));
        sink_->close(closeInternalError, "the translation service is gone");
        end();
    }

    void end() {
        ended_ = true;
        waiting_.finish();
        service_->cancel(closeGoingAway);
    }

    const SerialExecutor executor_;
    const std::shared_ptr<WebSocketTask> service_;
    const std::shared_ptr<EventSink> sink_;
    const EventQueue<std::string> waiting_;
    std::atomic<std::size_t> waitingBytes_ = 0;
    bool ended_ = false;
};

class UpstreamStream final : public EngineStream {
public:
    explicit UpstreamStream(std::shared_ptr<Passage> passage) : passage_(std::move(passage)) {}
    UpstreamStream(const UpstreamStream&) = delete;
    UpstreamStream& operator=(const UpstreamStream&) = delete;
    ~UpstreamStream() override { passage_->leave(); }

    void receive(std::string message) override { passage_->forward(std::move(message)); }

private:
    const std::shared_ptr<Passage> passage_;
};

}  // namespace

UpstreamEngine::UpstreamEngine(Url endpoint, std::string key, NetworkContext network)
    : endpoint_(std::move(endpoint)), key_(std::move(key)), network_(std::move(network)) {}

Result<Url> UpstreamEngine::serviceEndpoint(const std::string& host) {
    auto url = Url::parse("wss://" + host + std::string(serviceRoute));
    const bool isPlain = host.find_first_of("/?#@\\ ") == std::string::npos;
    if (!isPlain || !url || url->host().empty()) {
        return failure(ErrorKind::invalidInput, "\"" + host + "\" is not a host name");
    }
    return url;
}

std::expected<std::unique_ptr<EngineStream>, Refusal> UpstreamEngine::open(const StreamSettings& /*settings*/,
                                                                           std::shared_ptr<EventSink> sink) {
    WebSocketRequest request;
    request.url = endpoint_;
    request.headers.push_back({"Authorization", "Bearer " + key_});
    request.timeout = connectLimit;
    auto passage = std::make_shared<Passage>(std::move(request), network_, std::move(sink));
    passage->start();
    return std::make_unique<UpstreamStream>(std::move(passage));
}

}  // namespace tarn::relay
