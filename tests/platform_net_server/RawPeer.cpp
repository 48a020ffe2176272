#include "RawPeer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <boost/asio/write.hpp>

namespace tarn::test {
namespace asio = boost::asio;

RawPeer::RawPeer(std::uint16_t port) {
    socket_.connect({asio::ip::make_address("127.0.0.1"), port});
    const timeval limit{20, 0};
    ::setsockopt(socket_.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(socket_.native_handle(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool RawPeer::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(socket_.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::string RawPeer::upgrade(std::string_view target, std::string_view headerLines) {
    send("GET " + std::string(target) +
         " HTTP/1.1\r\nHost: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
         "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
         std::string(headerLines) + "\r\n");
    return readHead();
}

bool RawPeer::sendFrame(int opcode, std::string_view payload) {
    return send(frameBytes(opcode, payload));
}

std::string RawPeer::readHead() {
    constexpr std::string_view end = "\r\n\r\n";
    auto at = received_.find(end);
    while (at == std::string::npos && fill()) {
        at = received_.find(end);
    }
    return read(at == std::string::npos ? received_.size() : at + end.size());
}

std::string RawPeer::readToEnd() {
    while (fill()) {
    }
    return read(received_.size());
}

RawPeer::Frame RawPeer::readFrame() {
    const auto head = read(2);
    if (head.size() < 2) {
        return {};
    }
    Frame frame;
    frame.opcode = head[0] & 0x0f;
    std::uint64_t length = static_cast<unsigned char>(head[1]) & 0x7f;
    if (length >= 126) {
        std::uint64_t extended = 0;
        for (const char byte : read(length == 126 ? 2 : 8)) {
            extended = extended << 8 | static_cast<unsigned char>(byte);
        }
        length = extended;
    }
    frame.payload = read(length);
    return frame;
}

std::vector<RawPeer::Frame> RawPeer::readFramesToClose() {
    std::vector<Frame> frames;
    for (auto frame = readFrame(); frame.opcode >= 0; frame = readFrame()) {
        frames.push_back(frame);
        if (frame.opcode == closeFrame) {
            break;
        }
    }
    return frames;
}

void RawPeer::endSending() {
    socket_.shutdown(asio::ip::tcp::socket::shutdown_send);
}

int RawPeer::closeCode(const Frame& frame) {
    if (frame.opcode != closeFrame || frame.payload.size() < 2) {
        return 0;
    }
    return static_cast<unsigned char>(frame.payload[0]) << 8 | static_cast<unsigned char>(frame.payload[1]);
}

std::string RawPeer::frameBytes(int opcode, std::string_view payload, bool masked, bool final) {
    std::string bytes;
    const auto push = [&bytes](std::uint64_t value) { bytes.push_back(static_cast<char>(value & 0xff)); };
    push(static_cast<unsigned>(opcode) | (final ? 0x80U : 0U));
    const unsigned maskBit = masked ? 0x80 : 0;
    const std::uint64_t length = payload.size();
    if (length < 126) {
        push(length | maskBit);
    } else {
        const bool isLong = length > 0xffff;
        push((isLong ? 127U : 126U) | maskBit);
        for (int shift = isLong ? 56 : 8; shift >= 0; shift -= 8) {
            push(length >> shift);
        }
    }
    constexpr std::array<unsigned char, 4> mask{0x12, 0x34, 0x56, 0x78};
    if (masked) {
        bytes.append(mask.begin(), mask.end());
    }
    for (std::size_t i = 0; i < payload.size(); ++i) {
        push(static_cast<unsigned char>(payload[i]) ^ (masked ? mask[i % 4] : 0U));
    }
    return bytes;
}

bool RawPeer::fill() {
    std::array<char, 65536> chunk{};
    const auto count = ::recv(socket_.native_handle(), chunk.data(), chunk.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        ADD_FAILURE() << "nothing came for 20 s after: " << received_.substr(0, 200);
    }
    if (count <= 0) {
        return false;
    }
    received_.append(chunk.data(), static_cast<std::size_t>(count));
    return true;
}

std::string RawPeer::read(std::size_t length) {
    while (received_.size() < length && fill()) {
    }
    const auto taken = received_.substr(0, length);
    received_.erase(0, taken.size());
    return taken;
}

}  // namespace tarn::test
