// A real server on a loopback port of its own, and clients that say exactly the bytes a test wants. What is
// proved: a request is answered as its handler says, every kind of bad peer is dropped, and nobody else
// notices.

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "RawPeer.h"
#include "TarnPlatform/base/NetworkThread.h"
#include "TarnPlatform/base/UniqueDescriptor.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn::test {
namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::StartsWith;

auto isFrame(int opcode, const std::string& payload) {
    return AllOf(Field(&RawPeer::Frame::opcode, opcode), Field(&RawPeer::Frame::payload, payload));
}

Task<void> echo(std::shared_ptr<ServerWebSocket> socket) {
    for (;;) {
        auto message = co_await socket->receive();
        if (!message) {
            co_return;
        }
        socket->send(std::move(message->payload));
    }
}

/// Sends what never ends, as fast as the queue takes it, to a peer that does not read.
Task<void> flood(std::shared_ptr<ServerWebSocket> socket) {
    for (int i = 0; i < 64; ++i) {
        socket->send(std::string(1U << 20, 'x'));
    }
    (void)co_await socket->receive();
}

Task<void> talkThenClose(std::shared_ptr<ServerWebSocket> socket) {
    for (int i = 0; i < 3; ++i) {
        socket->send(std::to_string(i) + std::string(300'000, '.'));
    }
    socket->close(4001, "the token was revoked");
    socket->send("after the close");
    co_return;
}

Task<ServerReply> handle(ServerRequest request) {
    ServerReply reply;
    if (request.target == "/echo") {
        reply = WebSocketHandler(echo);
    } else if (request.target == "/flood") {
        reply = WebSocketHandler(flood);
    } else if (request.target == "/talk") {
        reply = WebSocketHandler(talkThenClose);
    } else if (request.target == "/throw") {
        throw std::runtime_error("a fault of the handler");
    } else {
        ServerResponse response;
        response.status = request.target == "/denied" ? 401 : 200;
        response.body = request.method + " " + request.target + " " + request.body;
        reply = std::move(response);
    }
    co_return reply;
}

class HttpServerTest : public testing::Test {
protected:
    void start(const HttpServer::Limits& limits = {}) {
        auto listening = HttpServer::listen(context(), "127.0.0.1", 0, handle, limits);
        ASSERT_TRUE(listening) << listening.error().description;
        server_ = std::move(*listening);
    }

    NetworkContext context() {
        NetworkContext context;
        context.executor = network_.executor();
        context.clock = Clock::system();
        return context;
    }

    RawPeer connect() { return RawPeer(server_->port()); }
    struct Upgraded : RawPeer {
        Upgraded(std::uint16_t port, const char* target) : RawPeer(port) {
            EXPECT_THAT(upgrade(target), StartsWith("HTTP/1.1 101"));
        }
    };
    Upgraded upgraded(const char* target) { return {server_->port(), target}; }
    static void expectEcho(RawPeer& peer) {
        peer.sendFrame(textFrame, "unmoved");
        EXPECT_THAT(peer.readFrame(), isFrame(textFrame, "unmoved"));
    }

    NetworkThread network_;
    std::unique_ptr<HttpServer> server_;
};

constexpr const char* okRequest = "GET /a?b=c HTTP/1.1\r\nHost: localhost\r\n\r\n";

TEST_F(HttpServerTest, AnswersRequestsOfOneConnectionInOrderWithoutClosingIt) {
    start();
    auto peer = connect();
    peer.send(std::string(okRequest) +
              "POST /b HTTP/1.1\r\nHost: localhost\r\nContent-Length: 4\r\n\r\nbody" +
              "HEAD /c HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(peer.readHead(), AllOf(StartsWith("HTTP/1.1 200 OK"), HasSubstr("Date: "),
                                       HasSubstr(" GMT\r\n"), HasSubstr("Content-Length: 11\r\n")));
    EXPECT_EQ(peer.readBody(11), "GET /a?b=c ");
    peer.readHead();
    EXPECT_EQ(peer.readBody(12), "POST /b body");
    EXPECT_THAT(peer.readToEnd(),
                AllOf(HasSubstr("Connection: close"), EndsWith("Content-Length: 8\r\n\r\n")));
}

const std::string upgradeHead =
    "GET /echo HTTP/1.1\r\nHost: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n";

TEST_F(HttpServerTest, AnswersABadRequestWithItsStatusAndClosesIt) {
    const struct {
        const char* name;
        std::string bytes;
        const char* answer;
    } cases[] = {
        {"Rubbish", std::string("\x16\x03\x01\0\xff\r\n\r\n", 9), "HTTP/1.1 400"},
        {"HugeHeader", "GET / HTTP/1.1\r\nX: " + std::string(200'000, 'a'), "HTTP/1.1 431"},
        {"HugeBody", "POST / HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n" + std::string(300'000, 'b'),
         "HTTP/1.1 413"},
        {"HugeChunk",
         "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n7fffffff\r\n" + std::string(300'000, 'b'),
         "HTTP/1.1 413"},
        {"BadLength", "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", "HTTP/1.1 400"},
        {"PlainRequestOfASocketPath", "GET /echo HTTP/1.1\r\nHost: localhost\r\n\r\n", "HTTP/1.1 426"},
        {"UpgradeWithoutKey", upgradeHead + "Sec-WebSocket-Version: 13\r\n\r\n", "HTTP/1.1 426"},
        {"UpgradeOfOldVersion",
         upgradeHead + "Sec-WebSocket-Version: 8\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n",
         "HTTP/1.1 426"},
        {"FaultInHandler", "GET /throw HTTP/1.1\r\nConnection: close\r\n\r\n", "HTTP/1.1 500"},
        {"RefusedUpgrade",
         "GET /denied HTTP/1.1\r\nConnection: Upgrade, close\r\nUpgrade: websocket\r\n"
         "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n",
         "HTTP/1.1 401"}};
    start();
    auto bystander = upgraded("/echo");
    for (const auto& [name, bytes, answer] : cases) {
        auto peer = connect();
        peer.send(bytes);
        EXPECT_THAT(peer.readToEnd(), StartsWith(answer)) << name;
        expectEcho(bystander);
    }
}

TEST_F(HttpServerTest, DropsPeersThatStallInARequestAndTellsThemWhy) {
    start({.requestTimeout = milliseconds(150)});
    auto silent = connect();
    auto slow = connect();
    slow.send("GET / HTTP/1.1\r\nX-Never: end");
    auto slowBody = connect();
    slowBody.send("POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\nfive");
    auto halfClosed = connect();
    halfClosed.send("GET / HT");
    halfClosed.endSending();
    EXPECT_EQ(silent.readToEnd(), "");
    EXPECT_THAT(slow.readToEnd(), StartsWith("HTTP/1.1 408"));
    EXPECT_THAT(slowBody.readToEnd(), StartsWith("HTTP/1.1 408"));
    EXPECT_EQ(halfClosed.readToEnd(), "");
    auto next = upgraded("/echo");
    expectEcho(next);
}

TEST_F(HttpServerTest, TellsConnectionsBeyondTheLimitAndServesAgainWhenOneLeaves) {
    start({.maxConnections = 2});
    auto first = upgraded("/echo");
    {
        auto second = upgraded("/echo");
        auto third = connect();
        third.send(okRequest);
        EXPECT_THAT(third.readToEnd(), StartsWith("HTTP/1.1 503"));
    }
    // The place is free once the server has seen its peer leave.
    std::string head = "HTTP/1.1 503";
    for (int attempt = 0; attempt < 1000 && head.starts_with("HTTP/1.1 503"); ++attempt) {
        head = connect().upgrade("/echo");
    }
    EXPECT_THAT(head, StartsWith("HTTP/1.1 101"));
}

TEST_F(HttpServerTest, GivesANewcomerThePlaceOfWhoHasWaitedLongestWithoutARequest) {
    start({.maxConnections = 4, .requestTimeout = std::chrono::hours(1)});
    auto busy = upgraded("/echo");
    auto silent = connect();
    auto slow = connect();
    slow.send("GET / HTTP/1.1\r\nX-Never: end");
    auto late = connect();
    auto first = upgraded("/echo");
    EXPECT_EQ(silent.readToEnd(), "");
    auto second = upgraded("/echo");
    EXPECT_EQ(slow.readToEnd(), "");
    late.send(okRequest);
    EXPECT_THAT(late.readHead(), StartsWith("HTTP/1.1 200"));
    late.send("not HTTP\r\n\r\n");  // and then it neither goes nor asks
    EXPECT_THAT(late.readHead(), HasSubstr("HTTP/1.1 400"));
    auto third = upgraded("/echo");
    expectEcho(busy);
}

TEST_F(HttpServerTest, TakesANewcomerInThoughTheProcessHasNoDescriptorLeft) {
#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
    GTEST_SKIP() << "the sanitizer opens a pipe of its own to look at memory";
#endif
#endif
    start({.requestTimeout = std::chrono::hours(1)});
    auto idle = connect();
    idle.send(okRequest);
    ASSERT_THAT(idle.readHead(), StartsWith("HTTP/1.1 200"));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit tight{.rlim_cur = 200, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    std::vector<UniqueDescriptor> taken;
    for (int descriptor = ::dup(0); descriptor >= 0; descriptor = ::dup(0)) {
        taken.emplace_back(descriptor);
    }
    std::optional<RawPeer> newcomer;
    while (!newcomer) {
        try {
            newcomer.emplace(server_->port());
        } catch (const std::exception&) {
            taken.pop_back();  // it needs several, and the server has none in the end
        }
    }
    newcomer->send(okRequest);
    EXPECT_THAT(newcomer->readHead(), StartsWith("HTTP/1.1 200"));
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_THAT(idle.readToEnd(), EndsWith("GET /a?b=c "));
}

TEST_F(HttpServerTest, TellsAPeerThatAsksFirstToSendItsBody) {
    start();
    auto peer = connect();
    peer.send("POST / HTTP/1.1\r\nContent-Length: 4\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_THAT(peer.readHead(), StartsWith("HTTP/1.1 100"));
    peer.send("body");
    EXPECT_THAT(peer.readHead(), StartsWith("HTTP/1.1 200"));
    EXPECT_EQ(peer.readBody(11), "POST / body");
    peer.send("POST / HTTP/1.1\r\nContent-Length: 400000\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_THAT(peer.readHead(), StartsWith("HTTP/1.1 413"));
}

TEST_F(HttpServerTest, HoldsLittleForAPeerThatReadsNoAnswers) {
    start({.sendTimeout = milliseconds(300)});
    auto peer = connect();
    const std::string request = "GET /" + std::string(4000, 'a') + " HTTP/1.1\r\n\r\n";
    while (peer.send(request)) {
    }
    EXPECT_LT(peer.readToEnd().size(), 1'000'000);
}

TEST_F(HttpServerTest, ClosesAHurtWebSocketAloneWithItsCode) {
    const struct {
        const char* name;
        std::string bytes;
        int code;  // of the close frame that answers; 0: the connection just ends
    } cases[] = {
        {"TruncatedFrame", RawPeer::frameBytes(textFrame, "cut short").substr(0, 9), 0},
        {"EndWithoutClose", "", 0},
        {"MessageTooBig", RawPeer::frameBytes(textFrame, std::string(1001, 'a')), 1009},
        {"FragmentsTooBig",
         RawPeer::frameBytes(textFrame, std::string(600, 'a'), true, false) +
             RawPeer::frameBytes(0, std::string(600, 'a')),
         1009},
        {"ClaimOfAnExabyte", std::string("\x81\xff\x7f\xff\xff\xff\xff\xff\xff\xff\1\2\3\4", 14), 1009},
        {"InvalidUtf8", RawPeer::frameBytes(textFrame, "\xc3\x28"), 1007},
        {"NoMask", RawPeer::frameBytes(textFrame, "bare", false), 1002},
        {"UnknownOpcode", RawPeer::frameBytes(5, "?"), 1002},
        {"ReservedBits", std::string("\xf1\x80\1\2\3\4", 6), 1002},
        {"LongPing", RawPeer::frameBytes(pingFrame, std::string(126, 'p')), 1002},
        {"ContinuationOfNothing", RawPeer::frameBytes(0, "more"), 1002}};
    start({.maxMessageBytes = 1000});
    auto bystander = upgraded("/echo");
    for (const auto& [name, bytes, code] : cases) {
        auto peer = upgraded("/echo");
        peer.send(bytes);
        peer.endSending();
        const auto frames = peer.readFramesToClose();
        EXPECT_EQ(frames.empty() ? 0 : RawPeer::closeCode(frames.back()), code) << name;
        expectEcho(bystander);
    }
}

TEST_F(HttpServerTest, CarriesMessagesOfBothKindsInFragmentsAndAnswersPings) {
    start();
    auto peer = upgraded("/echo");
    const std::string big(70'000, 'b');
    peer.send(RawPeer::frameBytes(textFrame, "frag", true, false) + RawPeer::frameBytes(pingFrame, "now?") +
              RawPeer::frameBytes(0, "ments") + RawPeer::frameBytes(binaryFrame, big));
    EXPECT_THAT(peer.readFrame(), isFrame(pongFrame, "now?"));
    EXPECT_THAT(peer.readFrame(), isFrame(textFrame, "fragments"));
    EXPECT_TRUE(peer.readFrame().payload == big);
}

TEST_F(HttpServerTest, SendsWhatIsQueuedBeforeTheCloseAndNothingAfterIt) {
    start();
    auto peer = upgraded("/talk");
    for (const char digit : {'0', '1', '2'}) {
        const auto frame = peer.readFrame();
        ASSERT_EQ(frame.payload.size(), 300'001U);
        EXPECT_EQ(frame.payload[0], digit);
    }
    const auto last = peer.readFrame();
    EXPECT_EQ(RawPeer::closeCode(last), 4001);
    EXPECT_THAT(last.payload, EndsWith("the token was revoked"));
    peer.send(RawPeer::frameBytes(closeFrame, last.payload));
    EXPECT_EQ(peer.readToEnd(), "");
}

TEST_F(HttpServerTest, CutsAPeerThatNeverAnswersTheClose) {
    start();
    auto peer = upgraded("/talk");
    EXPECT_EQ(peer.readFramesToClose().size(), 4U);
    EXPECT_EQ(peer.readToEnd(), "");
}

TEST_F(HttpServerTest, CutsAPeerThatSaysGoodbyeAndStaysConnected) {
    start();
    auto peer = upgraded("/echo");
    peer.sendFrame(closeFrame, "\x03\xe8");
    EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 1000);
    while (peer.send(std::string(4096, 'x'))) {
    }
}

TEST_F(HttpServerTest, CutsAReaderThatIsTooSlowOrLetsTooMuchPileUp) {
    struct Case {
        std::size_t maxQueuedBytes;
        milliseconds sendTimeout;
    };
    for (const auto& [maxQueuedBytes, sendTimeout] :
         {Case{100U << 20, milliseconds(100)}, Case{8U << 20, std::chrono::hours(1)}}) {
        HttpServer::Limits limits;
        limits.maxQueuedBytes = maxQueuedBytes;
        limits.sendTimeout = sendTimeout;
        start(limits);
        auto bystander = upgraded("/echo");
        auto peer = connect();
        peer.upgrade("/flood");
        // The server may only end the flood by cutting: the peer reads nothing until a write to it fails.
        while (peer.sendFrame(pongFrame, std::string(100, ' '))) {
        }
        expectEcho(bystander);
    }
}

TEST_F(HttpServerTest, PingsAQuietPeerAndCutsItWhenItStaysQuiet) {
    start({.idleTimeout = milliseconds(400)});
    auto peer = upgraded("/echo");
    for (int round = 0; round < 3; ++round) {
        ASSERT_THAT(peer.readFrame(), isFrame(pingFrame, "")) << round;
        peer.sendFrame(pongFrame, "");
    }
    std::string rest = peer.readToEnd();
    EXPECT_THAT(rest, StartsWith(std::string("\x89\0", 2)));
    EXPECT_LE(rest.size(), 4U);
}

TEST_F(HttpServerTest, StopsWithAGoodbyeAtOnceToWhoHasMuchLeftToReadAndCutsWhoReadsNothing) {
    start({.maxQueuedBytes = 100U << 20, .sendTimeout = std::chrono::hours(1)});
    auto late = connect();
    auto deaf = connect();
    for (auto* const peer : {&late, &deaf}) {
        ASSERT_THAT(peer->upgrade("/flood"), StartsWith("HTTP/1.1 101"));
        EXPECT_EQ(peer->readFrame().payload.size(), 1U << 20);
    }
    auto socket = upgraded("/echo");
    auto waiting = connect();
    waiting.send(okRequest);
    waiting.readHead();
    waiting.readBody(11);
    asio::post(network_.executor(), [this] { server_->stop(); });
    const auto frames = late.readFramesToClose();
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(RawPeer::closeCode(frames.back()), 1001);
    EXPECT_LT(frames.size(), 50U);  // of 63; what had left the queue already still comes
    EXPECT_EQ(RawPeer::closeCode(socket.readFrame()), 1001);
    EXPECT_EQ(waiting.readToEnd(), "");
    while (deaf.sendFrame(pongFrame, std::string(100, ' '))) {
    }
}

TEST_F(HttpServerTest, SaysWhyAnAddressCannotBeHad) {
    start();
    const auto taken = HttpServer::listen(context(), "127.0.0.1", server_->port(), handle, {});
    ASSERT_FALSE(taken);
    EXPECT_EQ(taken.error().kind, ErrorKind::system);
    EXPECT_EQ(taken.error().description, "cannot listen on 127.0.0.1 port " +
                                             std::to_string(server_->port()) + ": Address already in use");
    const auto named = HttpServer::listen(context(), "localhost", 0, handle, {});
    ASSERT_FALSE(named);
    EXPECT_EQ(named.error().kind, ErrorKind::invalidInput);
}

}  // namespace
}  // namespace tarn::test
