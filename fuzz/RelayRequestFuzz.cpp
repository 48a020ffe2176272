// Feeds arbitrary bytes to a whole relay as one connection's input: the HTTP parser, the checks and routes,
// the upgrade, frames and the engine behind them. The relay runs on this thread, over a real loopback socket.
//
// Input: the bytes on the wire, in which "%T" stands for a valid token. What follows
// the first empty line is sent once the relay has dealt with what came before it, as a client would that
// waits for its upgrade.

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Log.h"
#include "TarnRelay/stream/RelayServer.h"
#include "TarnRelay/stream/ScriptEngine.h"

namespace {

using namespace tarn;
using asio::ip::tcp;

constexpr const char* script = R"({"t":0,"event":{"type":"session.created"}}
{"after_audio":4,"event":{"type":"response.audio_transcript.done","transcript":"hola"}}
{"after_audio":16,"close":1000})";

/// One relay for all inputs; it is the same before each.
class World {
public:
    World() {
        setLogSink([](std::string_view) {});
        std::string path = (std::filesystem::temp_directory_path() / "tarn-fuzz-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) {
            std::perror("cannot make a folder for the tokens");
            std::exit(1);
        }
        folder_ = path;
        tokens_ = std::make_unique<relay::TokenRegistry>(folder_ / "relay");
        engine_ = std::make_unique<relay::ScriptEngine>(relay::parseScript(script).value(),
                                                        context_.get_executor(), Clock::system());
        NetworkContext network;
        network.executor = context_.get_executor();
        network.clock = Clock::system();
        relay::RelayServer::Options options;
        options.port = 0;
        options.engineName = "script";
        options.limits.maxMessageBytes = 4096;
        server_ =
            relay::RelayServer::start(network, context_.get_executor(), *tokens_, *engine_, options).value();
        endpoint_ = {asio::ip::make_address("127.0.0.1"), server_->port()};
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() { std::filesystem::remove_all(folder_); }

    void feed(std::string_view bytes) {
        ensureToken();
        std::string text(bytes);
        for (auto at = text.find("%T"); at != std::string::npos; at = text.find("%T", at + token_.size())) {
            text.replace(at, 2, token_);
        }
        const auto blank = text.find("\r\n\r\n");
        const auto head = std::min(text.size(), blank == std::string::npos ? text.size() : blank + 4);

        tcp::socket client(context_);
        client.connect(endpoint_);
        // Nobody else may be served meanwhile, and a reset at the end keeps the machine's ports free.
        client.set_option(asio::socket_base::linger(true, 0));
        send(client, std::string_view(text).substr(0, head));
        send(client, std::string_view(text).substr(head));
        client.shutdown(tcp::socket::shutdown_send, ignored_);
        settle();
        client.close(ignored_);
        settle();
    }

private:
    void send(tcp::socket& client, std::string_view bytes) {
        if (!bytes.empty()) {
            // More than the socket's buffers hold is more than the limits of a request allow.
            (void)::send(client.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        settle();
    }

    void settle() {
        context_.restart();
        while (context_.poll() != 0) {
        }
    }

    /// A logged-out token is replaced: each input finds a good one.
    void ensureToken() {
        if (tokens_->refresh() && tokens_->find(token_)) {
            return;
        }
        token_ = tokens_->issue("fuzz@example.org").value();
    }

    asio::io_context context_{1};
    std::filesystem::path folder_;
    std::unique_ptr<relay::TokenRegistry> tokens_;
    std::unique_ptr<relay::ScriptEngine> engine_;
    std::unique_ptr<relay::RelayServer> server_;
    tcp::endpoint endpoint_;
    std::string token_;
    boost::system::error_code ignored_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto world = std::make_unique<World>();
    world->feed({reinterpret_cast<const char*>(data), size});
    return 0;
}
