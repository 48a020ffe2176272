#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/webserver/HttpServer.h"
#include "TarnPlatform/webserver/PassedSocket.h"
#include "TarnRelay/account/TokenRegistry.h"
#include "TranslationEngine.h"

namespace tarn::relay {

/// The relay itself: account API, sign-in page, translate streams and health report on one port.
class RelayServer {
public:
    struct Options {
        std::string address = "127.0.0.1";  ///< numeric
        std::uint16_t port = 8787;          ///< 0: the system picks one
        /// The socket to listen on, with the same `address`; it is taken over. Where it is null, the server
        /// binds one itself.
        std::shared_ptr<PassedSocket> passed = nullptr;
        std::size_t maxStreams = 8;  ///< open at once; a further client is told that the relay is busy
        std::string engineName;      ///< for the health report
        std::string suggestedEmail;  ///< stands in the sign-in page's field at first; may be empty
        HttpServer::Limits limits{};
    };

    virtual ~RelayServer() = default;

    /// Reads the tokens and listens. `engine` outlives the server. `fileExecutor` runs the work that waits
    /// for the disk; it may be the network's. Fails when the tokens cannot be read or the address cannot be
    /// bound. Thread: the network's executor, or before its context runs.
    static Result<std::unique_ptr<RelayServer>> start(NetworkContext network, SerialExecutor fileExecutor,
                                                      TokenRegistry tokens, TranslationEngine& engine,
                                                      Options options);

    virtual std::uint16_t port() const = 0;
    /// "http://127.0.0.1:8787"
    virtual std::string url() const = 0;
    /// Ends every stream with close code 1001, and every connection. Thread: the network's executor.
    virtual void stop() = 0;
};

}  // namespace tarn::relay
