#include "LwsClient.h"

#include <libwebsockets.h>

#include <array>
#include <stdexcept>

namespace tarn::bench {
namespace {

int onEvent(lws* connection, lws_callback_reasons reason, void* /*user*/, void* data, std::size_t size) {
    auto* const client = static_cast<LwsClient*>(lws_context_user(lws_get_context(connection)));
    return client == nullptr ? 0 : client->handle(connection, reason, data, size);
}

const std::array<lws_protocols, 2> protocols{{{"bench", onEvent, 0, 65536, 0, nullptr, 0}, {}}};

}  // namespace

LwsClient::LwsClient(const std::string& authorityFile, std::uint16_t port, const std::string& path) {
    lws_set_log_level(LLL_ERR, nullptr);
    lws_context_creation_info creation{};
    creation.port = CONTEXT_PORT_NO_LISTEN;
    creation.protocols = protocols.data();
    creation.options = LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
    creation.client_ssl_ca_filepath = authorityFile.c_str();
    creation.pt_serv_buf_size = 65536;  // whole messages fit
    creation.user = this;
    context_ = lws_create_context(&creation);
    lws_client_connect_info request{};
    request.context = context_;
    request.address = "127.0.0.1";
    request.host = "localhost";
    request.origin = "localhost";
    request.port = port;
    request.path = path.c_str();
    request.ssl_connection = LCCSCF_USE_SSL;
    request.alpn = "http/1.1";
    request.local_protocol_name = "bench";
    if (context_ == nullptr || lws_client_connect_via_info(&request) == nullptr) {
        throw std::runtime_error("libwebsockets cannot connect");
    }
    const Source nothing = [] { return std::string(); };
    const Sink ignore = [](std::string_view) {};
    run(nothing, ignore, [this] { return connection_ != nullptr; });
}

LwsClient::~LwsClient() {
    lws_context_destroy(context_);
}

void LwsClient::run(const Source& source, const Sink& sink, const std::function<bool()>& done) {
    source_ = &source;
    sink_ = &sink;
    idle_ = false;
    while (!done()) {
        if (connection_ != nullptr && !idle_) {
            lws_callback_on_writable(connection_);
        }
        lws_service(context_, 0);
        if (failed_) {
            throw std::runtime_error("libwebsockets lost the connection");
        }
    }
}

int LwsClient::handle(lws* connection, int reason, void* data, std::size_t size) {
    switch (reason) {
        case LWS_CALLBACK_CLIENT_ESTABLISHED:
            connection_ = connection;
            break;
        case LWS_CALLBACK_CLIENT_WRITEABLE:
            while (write() && lws_send_pipe_choked(connection_) == 0) {
            }
            break;
        case LWS_CALLBACK_CLIENT_RECEIVE: {
            idle_ = false;
            const std::string_view part(static_cast<const char*>(data), size);
            const bool last =
                lws_is_final_fragment(connection) != 0 && lws_remaining_packet_payload(connection) == 0;
            if (last && incoming_.empty()) {
                (*sink_)(part);
            } else {
                incoming_ += part;
                if (last) {
                    (*sink_)(incoming_);
                    incoming_.clear();
                }
            }
            break;
        }
        case LWS_CALLBACK_CLIENT_CONNECTION_ERROR:
        case LWS_CALLBACK_CLIENT_CLOSED:
            failed_ = true;
            break;
        default:
            break;
    }
    return 0;
}

/// False: there is nothing to send.
bool LwsClient::write() {
    const auto text = (*source_)();
    if (text.empty()) {
        idle_ = true;
        return false;
    }
    // The library writes the frame's header in front of the text and masks the text where it stands.
    outgoing_.resize(LWS_PRE + text.size());
    text.copy(outgoing_.data() + LWS_PRE, text.size());
    auto* const begin = reinterpret_cast<unsigned char*>(outgoing_.data()) + LWS_PRE;
    if (lws_write(connection_, begin, text.size(), LWS_WRITE_TEXT) < 0) {
        failed_ = true;
        return false;
    }
    return true;
}

}  // namespace tarn::bench
