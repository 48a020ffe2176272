// The engine between a client's stream and a real WebSocket server that plays the translation service.

#include "TarnRelay/stream/UpstreamEngine.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>

#include "TarnPlatform/base/EventQueue.h"
#include "support/RunTask.h"
#include "support/TestService.h"

namespace tarn::relay {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* key = "sk-secret";

class QueueSink final : public EventSink {
public:
    void send(std::string json) override { events.push(std::move(json)); }
    void close(std::uint16_t code, std::string) override { events.push("close " + std::to_string(code)); }
    EventQueue<std::string> events;
};

class UpstreamEngineTest : public testing::Test {
protected:
    UpstreamEngineTest() {
        network_.executor = context_.get_executor();
        network_.clock = Clock::system();
        network_.trust = TlsTrust::system();
    }

    std::unique_ptr<EngineStream> open(const Url& endpoint) {
        engine_ = std::make_unique<UpstreamEngine>(endpoint, key, network_);
        auto stream = engine_->open({}, sink_);
        EXPECT_TRUE(stream);
        return std::move(*stream);
    }

    template <typename T>
    T next(const EventQueue<T>& queue) {
        return test::runTask(context_, queue.next()).value();
    }

    asio::io_context context_;
    NetworkContext network_;
    std::shared_ptr<QueueSink> sink_ = std::make_shared<QueueSink>();
    std::unique_ptr<UpstreamEngine> engine_;
};

TEST_F(UpstreamEngineTest, PassesMessagesBothWaysInOrderAndEndsTheServiceWithTheClient) {
    test::TestService service(network_);
    auto stream = open(service.url("/api-ws/v1/realtime?model=m"));
    for (int i = 0; i < 200; ++i) {
        stream->receive("message " + std::to_string(i));  // most of them before the connection stands
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(next(service.messages), "message " + std::to_string(i));
    }
    EXPECT_EQ(service.requests.at(0).target, "/api-ws/v1/realtime?model=m");
    EXPECT_EQ(headerValue(service.requests.at(0).headers, "Authorization"), "Bearer sk-secret");
    const auto client = next(service.clients);
    for (int i = 0; i < 200; ++i) {
        client->send("event " + std::to_string(i));
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(next(sink_->events), "event " + std::to_string(i));
    }
    stream.reset();
    EXPECT_EQ(next(service.endings).kind, ErrorKind::closed);
    EXPECT_FALSE(sink_->events.tryNext());
}

TEST_F(UpstreamEngineTest, SaysThatTheRelaysKeyWasRefused) {
    test::TestService service(network_, 401);
    const auto stream = open(service.url());
    EXPECT_THAT(next(sink_->events), AllOf(HasSubstr("tarn.error"), HasSubstr("refused the relay's key")));
    EXPECT_EQ(next(sink_->events), "close 1011");
}

TEST_F(UpstreamEngineTest, SaysThatTheServiceCannotBeReached) {
    std::uint16_t unused = 0;
    {
        const test::TestService gone(network_);
        unused = gone.port();
    }
    test::runTask(context_, sleepFor(Clock::system(), std::chrono::milliseconds(0)));
    const auto stream = open(Url::parse("ws://127.0.0.1:" + std::to_string(unused)).value());
    stream->receive("lost");
    EXPECT_THAT(next(sink_->events),
                AllOf(HasSubstr("tarn.error"), HasSubstr("cannot be reached"), Not(HasSubstr(key))));
    EXPECT_EQ(next(sink_->events), "close 1011");
}

TEST_F(UpstreamEngineTest, SaysThatTheServiceLeft) {
    test::TestService service(network_);
    const auto stream = open(service.url());
    const auto client = next(service.clients);
    client->send("last words");
    client->close(1008, "quota");
    EXPECT_EQ(next(sink_->events), "last words");
    EXPECT_THAT(next(sink_->events), AllOf(HasSubstr("tarn.error"), HasSubstr("1008")));
    EXPECT_EQ(next(sink_->events), "close 1011");
}

TEST_F(UpstreamEngineTest, TellsTheServicesComplaintAndPassesItOnUnread) {
    test::TestService service(network_);
    const auto stream = open(service.url());
    const auto client = next(service.clients);
    const std::pair<std::string, std::string> cases[] = {
        {R"({"type":"error","error":{"code":"quota","message":"Out of\u001b credit"}})",
         "[quota] Out of  credit"},
        {R"({"type": "error", "message": "Unknown language"})", "[?] Unknown language"},
        {R"({"type":"error"})", "[?] (no message)"},
        {R"({"type":"response.done","status":"error"})", ""},
        {R"({"type":"error" and no more)", ""},
        {R"(["error"])", ""},
    };
    for (const auto& [event, told] : cases) {
        client->send(event);
        if (!told.empty()) {
            EXPECT_EQ(next(sink_->events),
                      R"({"type":"tarn.error","error":"the translation service refuses: )" + told + "\"}");
        }
        EXPECT_EQ(next(sink_->events), event);
    }
}

TEST_F(UpstreamEngineTest, GivesUpOnAServiceThatTakesNothing) {
    test::TestService service(network_);
    const auto stream = open(service.url());
    // The service connects only once the context runs: until then everything waits, up to the limit.
    for (int i = 0; i < 9; ++i) {
        stream->receive(std::string(1024UZ * 1024, 'a'));
    }
    EXPECT_THAT(next(sink_->events), HasSubstr("does not keep up"));
    EXPECT_EQ(next(sink_->events), "close 1011");
}

TEST_F(UpstreamEngineTest, BuildsTheDirectRouteOfAHost) {
    EXPECT_EQ(UpstreamEngine::serviceEndpoint("service.example:444").value().text(),
              "wss://service.example:444/api-ws/v1/realtime?model=qwen3.5-livetranslate-flash-realtime");
    for (const std::string bad : {"", "a/b", "a b", "a?b", "a#b", "user@host", ":1", "[::1"}) {
        EXPECT_FALSE(UpstreamEngine::serviceEndpoint(bad)) << bad;
    }
}

}  // namespace
}  // namespace tarn::relay
