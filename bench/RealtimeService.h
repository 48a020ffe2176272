#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "TarnPlatform/base/NetworkThread.h"
#include "TarnPlatform/webserver/HttpServer.h"
#include "support/TestCertificates.h"
#include "support/TlsProxy.h"

namespace tarn::bench {

/// What one stream's audio events held, as the service found them.
struct StreamFindings {
    int chunks = 0;      ///< audio events received
    int wrongSize = 0;   ///< of them, not of 1600 bytes
    int outOfOrder = 0;  ///< of them, with another id than the one that follows the one before
    int notUnderstood = 0;
    int eventsSent = 0;
};

/// Plays the translation service on 127.0.0.1: looks into every audio event, and where asked speaks at the
/// pace of a busy service, 5 partial texts and one second of 24 kHz audio in 100 ms pieces each second.
class RealtimeService {
public:
    struct Options {
        bool speaks = false;
        /// Told of each audio event by its place in the stream, from 0. Thread: the service's.
        std::function<void(int chunk)> onChunk;
        /// Told when a stream has ended. Thread: the service's.
        std::function<void(const StreamFindings&)> onEnd;
    };

    /// `identity`: with TLS in front; nothing: plain.
    RealtimeService(const std::optional<tarn::test::TestCertificates::Identity>& identity, Options options);
    ~RealtimeService();

    std::uint16_t port() const { return proxy_ ? proxy_->port() : server_->port(); }

private:
    Task<void> serve(std::shared_ptr<ServerWebSocket> socket);

    const Options options_;
    NetworkThread thread_;
    std::unique_ptr<HttpServer> server_;
    std::unique_ptr<tarn::test::TlsProxy> proxy_;
};

/// The network of a client that meets that service on "localhost"; `authorityFile` empty: without TLS.
NetworkContext clientNetwork(SerialExecutor executor, const std::string& authorityFile);
Url clientUrl(bool secure, std::uint16_t port);

}  // namespace tarn::bench
