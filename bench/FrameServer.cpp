#include "FrameServer.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <span>
#include <stdexcept>

#include "SampleEvents.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::bench {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

std::string acceptKey(const std::string& key) {
    const std::string whole = key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    std::array<std::byte, SHA_DIGEST_LENGTH> digest{};
    SHA1(reinterpret_cast<const unsigned char*>(whole.data()), whole.size(),
         reinterpret_cast<unsigned char*>(digest.data()));
    return base64Encode(digest);
}

void appendFrame(std::string& frames, const std::string& text) {
    frames += '\x81';
    if (text.size() < 126) {
        frames += static_cast<char>(text.size());
    } else {
        frames += '\x7e';
        frames += static_cast<char>(text.size() >> 8U);
        frames += static_cast<char>(text.size() & 0xFFU);
    }
    frames += text;
}

std::string valueOf(const std::string& header, const std::string& name) {
    const auto begin = header.find("\r\n" + name + ": ");
    if (begin == std::string::npos) {
        throw std::runtime_error("the upgrade has no " + name);
    }
    const auto value = begin + name.size() + 4;
    return header.substr(value, header.find("\r\n", value) - value);
}

class FrameConnection {
public:
    FrameConnection(tcp::socket socket, asio::ssl::context& context) : stream_(std::move(socket), context) {}

    void run() {
        stream_.next_layer().set_option(tcp::no_delay(true));
        stream_.handshake(asio::ssl::stream_base::server);
        upgrade();
        for (int messages = 0; takeMessage(); ++messages) {
            if (messages > 0 && messages % batch_ == 0) {
                asio::write(stream_, asio::buffer(events_));
            }
        }
    }

private:
    void upgrade() {
        const auto end = asio::read_until(stream_, asio::dynamic_buffer(input_), "\r\n\r\n");
        const auto header = input_.substr(0, end);
        start_ = end;
        int events = 0;
        if (std::sscanf(header.c_str(), "GET /%d/%d ", &batch_, &events) != 2 || batch_ < 1) {
            throw std::runtime_error("the upgrade has another path");
        }
        const std::array samples{audioDeltaEvent(4800), partialTextEvent(), audioDeltaEvent(4800)};
        for (int i = 0; i < events; ++i) {
            appendFrame(events_, samples[static_cast<std::size_t>(i) % samples.size()]);
        }
        const std::string answer =
            "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            "Sec-WebSocket-Accept: " +
            acceptKey(valueOf(header, "Sec-WebSocket-Key")) + "\r\n\r\n";
        asio::write(stream_, asio::buffer(answer));
    }

    /// Reads until `count` bytes are there that have not been used. False: the client has cut the connection.
    bool need(std::size_t count) {
        while (input_.size() - start_ < count) {
            input_.erase(0, start_);
            start_ = 0;
            const auto held = input_.size();
            input_.resize(held + 65536);
            boost::system::error_code error;
            const auto size = stream_.read_some(asio::buffer(input_.data() + held, 65536), error);
            input_.resize(held + size);
            if (error) {
                return false;
            }
        }
        return true;
    }

    unsigned byteAt(std::size_t place) const { return static_cast<unsigned char>(input_[start_ + place]); }

    /// Passes over one message. False: the client is gone.
    bool takeMessage() {
        while (need(2)) {
            const unsigned kind = byteAt(0) & 0x0FU;
            std::size_t length = byteAt(1) & 0x7FU;
            std::size_t header = 2 + 4;
            if (length == 126) {
                if (!need(4)) {
                    return false;
                }
                length = byteAt(2) << 8U | byteAt(3);
                header += 2;
            }
            if (!need(header + length)) {
                return false;
            }
            start_ += header + length;
            if (kind == 1) {
                return true;
            }
            if (kind == 8) {
                return false;
            }
        }
        return false;
    }

    asio::ssl::stream<tcp::socket> stream_;
    std::string input_;
    std::size_t start_ = 0;  // of input_: what comes before is used
    int batch_ = 0;
    std::string events_;
};

}  // namespace

void serveFrames(const tarn::test::TestCertificates::Identity& identity, std::FILE* out) {
    asio::io_context context;
    asio::ssl::context secure(asio::ssl::context::tls_server);
    secure.use_certificate_chain(asio::buffer(identity.certificate));
    secure.use_private_key(asio::buffer(identity.key), asio::ssl::context::pem);
    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
    std::fprintf(out, "%d\n", acceptor.local_endpoint().port());
    for (;;) {
        FrameConnection connection(acceptor.accept(), secure);
        connection.run();
    }
}

std::string frameServerPath(int batch, int events) {
    return "/" + std::to_string(batch) + "/" + std::to_string(events);
}

}  // namespace tarn::bench
