#include "SubtitlePage.h"

#include <openssl/crypto.h>

#include <QRandomGenerator>
#include <algorithm>
#include <atomic>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "TarnPlatform/base/EventQueue.h"

namespace tarn {
namespace {

namespace json = boost::json;

constexpr const char* loopback = "127.0.0.1";
constexpr std::size_t mostConnections = 32;
/// A page that has been left is found out by sending, so something is sent at least so often.
constexpr std::chrono::seconds heartbeat{10};

std::string stateText(const std::vector<ShownSubtitle>& all) {
    json::array sources;
    for (const ShownSubtitle& one : all) {
        sources.push_back(
            json::object{{"name", one.name}, {"original", one.original}, {"translation", one.translation}});
    }
    return "data: " + json::serialize(sources) + "\r\n\r\n";
}

std::string newNonce() {
    std::string nonce;
    for (int part = 0; part < 4; ++part) {
        nonce += std::to_string(QRandomGenerator::system()->generate());
    }
    return nonce;
}

/// The value of a query's parameter, which holds nothing that would be written in another way; empty where
/// there is none.
std::string_view parameter(std::string_view target, std::string_view name) {
    const auto query = target.find('?');
    target = query == std::string_view::npos ? std::string_view() : target.substr(query + 1);
    while (!target.empty()) {
        const std::string_view part = target.substr(0, target.find('&'));
        target = part.size() == target.size() ? std::string_view() : target.substr(part.size() + 1);
        if (part.starts_with(name) && part.size() > name.size() && part[name.size()] == '=') {
            return part.substr(name.size() + 1);
        }
    }
    return {};
}

ServerResponse refusal(int status, std::string_view why) {
    return {.status = status,
            .headers = {{"Content-Type", "text/plain; charset=utf-8"}, {"Cache-Control", "no-store"}},
            .body = std::string(why) + "\n"};
}

std::size_t countOf(const std::vector<HttpHeader>& headers, std::string_view name) {
    return static_cast<std::size_t>(std::ranges::count_if(
        headers, [&](const HttpHeader& header) { return sameIgnoringCase(header.name, name); }));
}

}  // namespace

struct SubtitlePage::State {
    explicit State(std::string secret, std::shared_ptr<Clock> time)
        : key(std::move(secret)), clock(std::move(time)) {}

    const std::string key;
    const std::shared_ptr<Clock> clock;
    std::atomic<std::uint16_t> port = 0;
    std::mutex mutex;
    std::string text = stateText({});              ///< the latest event
    std::vector<std::weak_ptr<Client>> clients{};  ///< who waits for the next one
    bool isOver = false;

    /// Why `request` is not answered, with its status; nothing where it may be.
    std::optional<ServerResponse> objection(const ServerRequest& request) const {
        if (request.method != "GET" && request.method != "HEAD") {
            return refusal(405, "this page is only read");
        }
        // A name that somebody else's server gives to this machine must not make its pages ours.
        const auto host = headerValue(request.headers, "Host");
        const std::string suffix = ":" + std::to_string(port.load());
        const bool isOurs = host == loopback + suffix || host == "localhost" + suffix;
        if (countOf(request.headers, "Host") != 1 || !isOurs) {
            return refusal(403, "this page answers only to the names of this machine");
        }
        for (const HttpHeader& header : request.headers) {
            if (sameIgnoringCase(header.name, "Origin") && header.value != "http://" + std::string(host)) {
                return refusal(403, "requests from other web sites are refused");
            }
            if (sameIgnoringCase(header.name, "Sec-Fetch-Site") && header.value != "same-origin" &&
                header.value != "none") {
                return refusal(403, "requests from other web sites are refused");
            }
        }
        const auto given = parameter(request.target, "key");
        if (given.size() != key.size() || ::CRYPTO_memcmp(given.data(), key.data(), key.size()) != 0) {
            return refusal(403, "the address is not the one that Tarn shows");
        }
        return std::nullopt;
    }
};

/// One page that is open. It gets the latest state whenever it can take more, and none between. Thread: its
/// connection's strand, but for the bell.
class SubtitlePage::Client {
public:
    explicit Client(std::shared_ptr<State> state) : state_(std::move(state)) {}

    void ring() { bell_.push({}); }
    void finish() { bell_.finish(); }

    static Task<std::optional<std::string>> next(std::shared_ptr<Client> self) {
        const SerialExecutor strand = co_await asio::this_coro::executor;
        const auto beat = self->state_->clock->callAfter(strand, heartbeat, [weak = std::weak_ptr(self)] {
            if (const auto client = weak.lock()) {
                client->ring();
            }
        });
        const auto rung = co_await self->bell_.next();
        if (!rung) {
            co_return std::nullopt;
        }
        while (self->bell_.tryNext()) {
        }
        const std::scoped_lock lock(self->state_->mutex);
        if (std::exchange(self->sent_, self->state_->text) == self->state_->text) {
            co_return ":\r\n\r\n";
        }
        co_return self->sent_;
    }

private:
    const std::shared_ptr<State> state_;
    const EventQueue<std::monostate> bell_;
    std::string sent_;
};

Result<std::unique_ptr<SubtitlePage>> SubtitlePage::open(const NetworkContext& network, std::uint16_t port,
                                                         std::string key) {
    auto state = std::make_shared<State>(std::move(key), network.clock);
    const RequestHandler handler = [state](ServerRequest request) {
        return answer(state, std::move(request));
    };
    HttpServer::Limits limits;
    limits.maxConnections = mostConnections;
    auto server = HttpServer::listen(network, loopback, port, handler, limits);
    if (!server && port != 0) {
        server = HttpServer::listen(network, loopback, 0, handler, limits);
    }
    if (!server) {
        return std::unexpected(server.error());
    }
    state->port = (*server)->port();
    return std::unique_ptr<SubtitlePage>(new SubtitlePage(std::move(state), std::move(*server)));
}

SubtitlePage::SubtitlePage(std::shared_ptr<State> state, std::unique_ptr<HttpServer> server)
    : state_(std::move(state)), server_(std::move(server)) {}

SubtitlePage::~SubtitlePage() {
    const std::scoped_lock lock(state_->mutex);
    state_->isOver = true;
    for (const auto& weak : state_->clients) {
        if (const auto client = weak.lock()) {
            client->finish();
        }
    }
}

std::string SubtitlePage::address() const {
    return "http://" + std::string(loopback) + ":" + std::to_string(port()) + "/overlay?key=" + state_->key;
}

void SubtitlePage::show(const std::vector<ShownSubtitle>& all) {
    std::string text = stateText(all);
    const std::scoped_lock lock(state_->mutex);
    state_->text = std::move(text);
    for (const auto& weak : state_->clients) {
        if (const auto client = weak.lock()) {
            client->ring();
        }
    }
}

Task<ServerReply> SubtitlePage::answer(std::shared_ptr<State> state, ServerRequest request) {
    if (auto refused = state->objection(request)) {
        co_return std::move(*refused);
    }
    const std::string path = request.target.substr(0, request.target.find('?'));
    if (path == "/overlay/events") {
        auto client = std::make_shared<Client>(state);
        {
            const std::scoped_lock lock(state->mutex);
            if (state->isOver) {
                client->finish();
            }
            std::erase_if(state->clients, [](const auto& weak) { return weak.expired(); });
            state->clients.push_back(client);
        }
        client->ring();
        ServerStream stream;
        stream.headers = {{"Content-Type", "text/event-stream"},
                          {"Cache-Control", "no-store"},
                          {"X-Content-Type-Options", "nosniff"}};
        stream.next = [client] { return Client::next(client); };
        co_return ServerReply(std::move(stream));
    }
    if (path != "/overlay") {
        co_return refusal(404, "there is nothing here");
    }
    const std::string nonce = newNonce();
    ServerResponse page;
    page.headers = {{"Content-Type", "text/html; charset=utf-8"},
                    {"Cache-Control", "no-store"},
                    {"Referrer-Policy", "no-referrer"},
                    {"X-Content-Type-Options", "nosniff"},
                    {"Cross-Origin-Resource-Policy", "same-origin"},
                    {"Content-Security-Policy",
                     "default-src 'none'; connect-src 'self'; frame-ancestors 'none'; "
                     "style-src 'nonce-" +
                         nonce + "'; script-src 'nonce-" + nonce + "'"}};
    page.body = subtitlePageText(nonce);
    co_return ServerReply(std::move(page));
}

}  // namespace tarn
