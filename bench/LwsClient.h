#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

struct lws;
struct lws_context;

namespace tarn::bench {

/// A WebSocket client on libwebsockets, over TLS with the server's certificate verified as ours does it.
/// Everything runs within `run`, on the caller's thread.
class LwsClient {
public:
    /// Gives the next message to send, or an empty text: nothing until another message has come.
    using Source = std::function<std::string()>;
    using Sink = std::function<void(std::string_view message)>;

    LwsClient(const std::string& authorityFile, std::uint16_t port, const std::string& path);
    ~LwsClient();
    LwsClient(const LwsClient&) = delete;
    LwsClient& operator=(const LwsClient&) = delete;

    /// Sends what `source` gives, as fast as the socket takes it, and hands whole messages to `sink`, until
    /// `done` says so. May be called again.
    void run(const Source& source, const Sink& sink, const std::function<bool()>& done);

    int handle(lws* connection, int reason, void* data, std::size_t size);

private:
    bool write();

    lws_context* context_ = nullptr;
    lws* connection_ = nullptr;
    bool failed_ = false;
    bool idle_ = false;  ///< nothing to send until the next message comes
    const Source* source_ = nullptr;
    const Sink* sink_ = nullptr;
    std::string outgoing_;
    std::string incoming_;
};

}  // namespace tarn::bench
