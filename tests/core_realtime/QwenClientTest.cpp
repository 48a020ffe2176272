// The client against a real server on loopback: what it sends, in which order, and what it hands on.
#include <gmock/gmock.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include "ClientFixture.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class QwenClientTest : public test::ClientFixture {
protected:
    std::string audioOf(const std::string& message) {
        const auto event = boost::json::parse(message).as_object();
        EXPECT_EQ(event.size(), 3U);
        EXPECT_EQ(event.at("type"), "input_audio_buffer.append");
        const auto bytes = base64Decode(std::string_view(event.at("audio").as_string())).value();
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    test::TestService service{network};
};

TEST_F(QwenClientTest, SendsItsTokenAndItsConfigurationFirst) {
    const auto client = makeClient(service.url("/tarn/ws/translate-stream?target=es"));
    ASSERT_TRUE(run(client->connect()));
    const auto first = nextMessage(service);
    EXPECT_EQ(eventId(first), "evt_init_1");
    EXPECT_THAT(first, testing::HasSubstr(R"("silence_duration_ms":500)"));
    ASSERT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(service.requests[0].target, "/tarn/ws/translate-stream?target=es");
    EXPECT_EQ(headerValue(service.requests[0].headers, "authorization"), "Bearer secret");
    EXPECT_EQ(headerValue(service.requests[0].headers, "user-agent"), "Tarn (Linux)");
    EXPECT_EQ(headerValue(service.requests[0].headers, "sec-websocket-protocol"), "");
    run(client->close());
}

TEST_F(QwenClientTest, CutsAudioIntoWholeChunksInTheOrderOfOverlappingCallsAndKeepsTheRest) {
    const auto client = makeClient(service.url());
    ASSERT_TRUE(run(client->connect()));
    nextMessage(service);
    std::string expected;
    for (int i = 0; i < 120; ++i) {
        const auto size = static_cast<std::size_t>(162 * (1 + i % 23));
        const auto value = static_cast<char>(i);
        expected.append(size, value);
        asio::co_spawn(context, client->sendAudio(std::vector(size, std::byte(value))), asio::detached);
    }
    std::string received;
    for (int id = 2; received.size() + 1600 <= expected.size(); ++id) {
        const auto message = nextMessage(service);
        ASSERT_EQ(eventId(message), "evt_a_" + std::to_string(id));
        const auto audio = audioOf(message);
        EXPECT_EQ(audio.size(), 1600U);
        received += audio;
    }
    EXPECT_EQ(received, expected.substr(0, received.size()));
    run(client->close());
    // The remaining bytes are neither padded nor sent.
    EXPECT_EQ(run(service.endings.next())->kind, ErrorKind::closed);
    EXPECT_FALSE(service.messages.tryNext());
}

TEST_F(QwenClientTest, LeavesTheOldestSoundOutInOnePieceWhereItWaitsTooLong) {
    const auto client = makeClient(service.url());
    std::vector<double> gaps;
    client->onGap = [&gaps](double seconds) { gaps.push_back(seconds); };
    ASSERT_TRUE(run(client->connect()));
    nextMessage(service);
    constexpr std::size_t second = 32000;
    constexpr int given = 13;  // before the network can take any of it
    for (int i = 0; i < given; ++i) {
        asio::co_spawn(context, client->sendAudio(std::vector(second, std::byte(i))), asio::detached);
    }
    EXPECT_TRUE(run(client->waitHeard()));
    std::string received;
    for (int id = 2; auto message = service.messages.tryNext(); ++id) {
        ASSERT_EQ(eventId(*message), "evt_a_" + std::to_string(id));
        received += audioOf(*message);
    }
    // When the eleventh second came, the oldest went down to seven.
    EXPECT_THAT(gaps, ElementsAre(4));
    std::string expected;
    for (int i = 4; i < given; ++i) {
        expected.append(second, static_cast<char>(i));
    }
    EXPECT_EQ(received, expected);
    EXPECT_THAT(log.lines("[qwen]"), ElementsAre("[qwen] the connection is too slow: sound is left out"));
    run(client->close());
    EXPECT_FALSE(run(client->waitHeard()));
}

TEST_F(QwenClientTest, SaysGoodbyeWith1001AndThenStaysSilent) {
    const auto client = makeClient(service.url());
    ASSERT_TRUE(run(client->connect()));
    run(client->close());
    run(client->close());
    EXPECT_FALSE(client->isAlive());
    const auto ending = *run(service.endings.next());
    EXPECT_EQ(ending.kind, ErrorKind::closed);
    EXPECT_THAT(ending.description, testing::HasSubstr("1001"));
    run(client->sendAudio(silence(1600)));
    EXPECT_EQ(run(client->waitDead()), "");
    EXPECT_THAT(log.lines("[qwen]"), IsEmpty());
    EXPECT_FALSE(calls.tryNext());
}

TEST_F(QwenClientTest, LetsAudioAlreadyGivenLeaveBeforeTheGoodbye) {
    const auto client = makeClient(service.url());
    ASSERT_TRUE(run(client->connect()));
    nextMessage(service);
    asio::co_spawn(context, client->sendAudio(silence(1600)), asio::detached);
    run(client->close());
    EXPECT_EQ(eventId(nextMessage(service)), "evt_a_2");
}

TEST_F(QwenClientTest, DiesOfAServiceErrorAfterOneLine) {
    const auto client = makeClient(service.url());
    ASSERT_TRUE(run(client->connect()));
    nextMessage(service);
    const auto socket = *run(service.clients.next());
    socket->send(R"({"type":"error","error":{"code":"full","message":"no room"}})");
    EXPECT_EQ(run(client->waitDead()), "[full] no room");
    EXPECT_TRUE(client->isRefusedByService());
    EXPECT_THAT(log.lines("[qwen]"), ElementsAre("[qwen] server error [full] no room"));
    run(client->sendAudio(silence(3200)));
    run(client->close());
    run(service.endings.next());
    EXPECT_FALSE(service.messages.tryNext());
    EXPECT_FALSE(calls.tryNext());
}

TEST_F(QwenClientTest, CanBeClosedBeforeItWasConnected) {
    const auto client = makeClient(service.url());
    run(client->close());
    EXPECT_FALSE(client->isAlive());
    EXPECT_TRUE(service.requests.empty());
}

}  // namespace
}  // namespace tarn
