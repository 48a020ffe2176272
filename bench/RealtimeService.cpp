#include "RealtimeService.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/json/parse.hpp>
#include <chrono>
#include <future>
#include <random>
#include <stdexcept>

#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::bench {
namespace {

/// Bytes that look like nothing in particular, the same in every run.
std::vector<std::byte> sampleBytes(std::size_t count) {
    std::mt19937 random(1);
    std::vector<std::byte> bytes(count);
    for (auto& byte : bytes) {
        byte = static_cast<std::byte>(random() & 0xFFU);
    }
    return bytes;
}

// Events as the service sends them, as JSON text.
std::string partialTextEvent() {
    return R"({"event_id":"event_B5kPm3hT7vQ2xW9","type":"conversation.item.input_audio_transcription.text",)"
           R"("item_id":"item_Yc8Nf4jL6sR1dK0","content_index":0,"language":"en","emotion":"neutral",)"
           R"("text":"the train to the coast leaves from platform four at ","stash":"twenty past nine"})";
}

/// 4800 bytes are 100 ms.
std::string audioDeltaEvent(std::size_t audioBytes) {
    return R"({"event_id":"event_Jh2Vt8wZ5bM3pC7","type":"response.audio.delta","response_id":"resp_Qe1Xs6gU9nA4kD3",)"
           R"("item_id":"item_Lr7Bd2fO5mH8yT1","output_index":0,"content_index":0,"delta":")" +
           base64Encode(sampleBytes(audioBytes)) + "\"}";
}

using namespace std::chrono_literals;

struct Stream {
    StreamFindings findings;
    int lastId = 0;
    bool open = true;
};

/// Looks into one message; true: it was an audio event.
bool examine(Stream& stream, const std::string& text) {
    boost::system::error_code error;
    const auto value = boost::json::parse(text, error);
    const auto* const event = error ? nullptr : value.if_object();
    const auto* const type = event == nullptr ? nullptr : event->if_contains("type");
    const auto* const id = event == nullptr ? nullptr : event->if_contains("event_id");
    if (type == nullptr || id == nullptr || !type->is_string() || !id->is_string()) {
        ++stream.findings.notUnderstood;
        return false;
    }
    if (type->get_string() == events::sessionUpdate) {
        stream.lastId = 1;
        return false;
    }
    const auto* const audio = event->if_contains("audio");
    if (type->get_string() != events::audioAppend || audio == nullptr || !audio->is_string()) {
        ++stream.findings.notUnderstood;
        return false;
    }
    const auto bytes = base64Decode(audio->get_string());
    if (!bytes || bytes->size() != qwenChunkBytes) {
        ++stream.findings.wrongSize;
    }
    if (id->get_string() != "evt_a_" + std::to_string(++stream.lastId)) {
        ++stream.findings.outOfOrder;
    }
    ++stream.findings.chunks;
    return true;
}

Task<void> speak(std::shared_ptr<ServerWebSocket> socket, std::shared_ptr<Stream> stream) {
    const auto audio = audioDeltaEvent(4800);
    const auto partial = partialTextEvent();
    asio::steady_timer timer(socket->executor());
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; stream->open; ++i) {
        socket->send(audio);
        ++stream->findings.eventsSent;
        if (i % 2 == 0) {
            socket->send(partial);
            ++stream->findings.eventsSent;
        }
        next += 100ms;
        timer.expires_at(next);
        co_await timer.async_wait(asValue);
    }
}

}  // namespace

RealtimeService::RealtimeService(const std::optional<tarn::test::TestCertificates::Identity>& identity,
                                 Options options)
    : options_(std::move(options)) {
    const NetworkContext network{thread_.executor(), Clock::system(), ProxySettings(), TlsTrust::system()};
    auto server = HttpServer::listen(
        network, "127.0.0.1", 0,
        [this](ServerRequest) -> Task<ServerReply> {
            co_return WebSocketHandler(
                [this](std::shared_ptr<ServerWebSocket> socket) { return serve(std::move(socket)); });
        },
        HttpServer::Limits());
    if (!server) {
        throw std::runtime_error(server.error().description);
    }
    server_ = std::move(*server);
    if (identity) {
        proxy_ = std::make_unique<tarn::test::TlsProxy>(thread_.executor(), *identity, server_->port());
    }
}

RealtimeService::~RealtimeService() {
    // Where they live, so that nothing runs on them meanwhile.
    std::promise<void> gone;
    asio::post(thread_.executor(), [&] {
        proxy_.reset();
        server_.reset();
        gone.set_value();
    });
    gone.get_future().wait();
}

Task<void> RealtimeService::serve(std::shared_ptr<ServerWebSocket> socket) {
    const auto stream = std::make_shared<Stream>();
    if (options_.speaks) {
        asio::co_spawn(socket->executor(), speak(socket, stream), asio::detached);
    }
    for (;;) {
        const auto message = co_await socket->receive();
        if (!message) {
            break;
        }
        if (examine(*stream, message->payload) && options_.onChunk) {
            options_.onChunk(stream->findings.chunks - 1);
        }
    }
    stream->open = false;
    if (options_.onEnd) {
        options_.onEnd(stream->findings);
    }
}

NetworkContext clientNetwork(SerialExecutor executor, const std::string& authorityFile) {
    auto trust = authorityFile.empty() ? TlsTrust::system() : TlsTrust::fromFile(authorityFile).value();
    return {std::move(executor), Clock::system(), ProxySettings(), std::move(trust)};
}

Url clientUrl(bool secure, std::uint16_t port) {
    return Url::parse((secure ? "wss" : "ws") + std::string("://localhost:") + std::to_string(port) +
                      "/stream")
        .value();
}

}  // namespace tarn::bench
