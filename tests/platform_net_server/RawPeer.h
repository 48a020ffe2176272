#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::test {

/// A client that writes and reads whatever bytes a test wants, blocking. No read waits for longer than 20 s:
/// the test fails then with what had come until there.
class RawPeer {
public:
    struct Frame {
        int opcode = -1;  ///< -1: the connection ended instead
        std::string payload;
    };

    explicit RawPeer(std::uint16_t port);

    /// False when the server has closed the connection.
    bool send(std::string_view bytes);
    /// Sends an upgrade request with these further header lines (each with CRLF); returns the answer's head.
    std::string upgrade(std::string_view target, std::string_view headerLines = {});
    bool sendFrame(int opcode, std::string_view payload);

    /// Up to and including the empty line; what came, when the connection ends before that.
    std::string readHead();
    std::string readBody(std::size_t length) { return read(length); }
    std::string readToEnd();
    Frame readFrame();
    /// Frames up to a close frame (included), or to the end of the connection.
    std::vector<Frame> readFramesToClose();
    void endSending();

    /// Code in a close frame; 0 where there is none.
    static int closeCode(const Frame& frame);
    static std::string frameBytes(int opcode, std::string_view payload, bool masked = true,
                                  bool final = true);

private:
    bool fill();
    std::string read(std::size_t length);

    boost::asio::io_context context_;
    boost::asio::ip::tcp::socket socket_{context_};
    std::string received_;
};

inline constexpr int textFrame = 1;
inline constexpr int binaryFrame = 2;
inline constexpr int closeFrame = 8;
inline constexpr int pingFrame = 9;
inline constexpr int pongFrame = 10;

}  // namespace tarn::test
