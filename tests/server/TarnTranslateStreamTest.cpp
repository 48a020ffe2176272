// The translate stream, opened through the server client, against a real WebSocket server on loopback.

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>

#include "TarnApp/server/RealTarnServerClient.h"
#include "support/LogCapture.h"
#include "support/RunTask.h"
#include "support/TestService.h"

namespace tarn {
namespace {

using test::TestService;

class TarnTranslateStreamTest : public testing::Test {
protected:
    ServerResult<std::shared_ptr<TarnTranslateStream>> open(const TestService& service,
                                                            const std::string& pat = "secret") {
        const auto base = Url::parse("http://127.0.0.1:" + std::to_string(service.port()) + "/tarn").value();
        const auto client = std::make_shared<RealTarnServerClient>(base, fixedPat(pat),
                                                                   HttpSession::make(network_), network_);
        return run(client->openTranslateStream("", "de", "Cherry", "always", 900));
    }
    template <typename T>
    T run(Task<T> task) {
        return test::runTask(context_, std::move(task));
    }
    std::shared_ptr<ServerWebSocket> nextClient(TestService& service) {
        return run(service.clients.next()).value();
    }
    /// The next event, written out; "end" once there is none.
    std::string next(const TarnTranslateStream& stream) {
        auto event = run(stream.events().next());
        while (event && std::holds_alternative<translate::Progress>(*event)) {
            event = run(stream.events().next());
        }
        return event ? std::visit(Shown{}, *event) : "end";
    }

    struct Shown {
        std::string operator()(const translate::SourceText& e) const {
            return "source " + e.text + (e.done ? "|" : "…");
        }
        std::string operator()(const translate::TranslatedText& e) const {
            return "translated " + e.text + (e.done ? "|" : "…");
        }
        std::string operator()(const translate::TranslatedAudio& e) const {
            return "audio " + std::to_string(e.bytes.size());
        }
        std::string operator()(const translate::Error& e) const { return "error " + e.message; }
        std::string operator()(const translate::Gap& e) const { return "gap " + std::to_string(e.seconds); }
        std::string operator()(const translate::Progress&) const { return "progress"; }
        std::string operator()(const translate::Unauthorized&) const { return "unauthorized"; }
        std::string operator()(const translate::Closed&) const { return "closed"; }
    };

    asio::io_context context_{1};
    NetworkContext network_{context_.get_executor(), Clock::system(), {}, TlsTrust::system()};
    test::LogCapture log_;
};

constexpr const char* finalSource =
    R"({"type":"conversation.item.input_audio_transcription.completed","transcript":"Hallo"})";

TEST_F(TarnTranslateStreamTest, TellsTheRelayItsSettingsAndHandsOnEveryEventInItsOrder) {
    TestService service(network_);
    const auto stream = open(service).value();
    EXPECT_TRUE(stream->isAlive());
    EXPECT_EQ(service.requests[0].target,
              "/tarn/ws/translate-stream?target=de&voice=Cherry&clone=always&vad_ms=900");
    const auto relay = nextClient(service);
    relay->send(finalSource);
    relay->send(R"({"type":"response.audio_transcript.text","text":"Hel","stash":""})");
    relay->send(R"({"type":"response.audio.delta","delta":"AAECAw=="})");
    relay->send(R"({"type":"tarn.error","message":"busy"})");
    relay->send(R"({"type":"response.audio_transcript.done","transcript":"Hello"})");
    for (const char* const expected :
         {"source Hallo|", "translated Hel…", "audio 4", "error busy", "translated Hello|"}) {
        EXPECT_EQ(next(*stream), expected);
    }
    for (int i = 0; i < 2000; ++i) {
        relay->send(R"({"type":"response.audio_transcript.done","transcript":")" + std::to_string(i) + "\"}");
    }
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(next(*stream), "translated " + std::to_string(i) + "|");
    }
    run(stream->close());
}

TEST_F(TarnTranslateStreamTest, LetsTheServerWaitWhileAMinuteOfVoiceIsUnreadAndLosesNothing) {
    TestService service(network_);
    const auto stream = open(service).value();
    const auto relay = nextClient(service);
    const std::string second =
        R"({"type":"response.audio.delta","delta":")" + std::string(64000, 'A') + "\"}";
    constexpr int sent = 200;
    for (int i = 0; i < sent; ++i) {
        relay->send(second);
    }
    do {
        context_.restart();
    } while (context_.poll() != 0);
    int taken = 0;
    while (stream->events().tryNext()) {
        ++taken;
    }
    EXPECT_GT(taken, 55);
    EXPECT_LE(taken, 61);
    for (; taken < sent; ++taken) {
        ASSERT_EQ(next(*stream), "audio 48000");
    }
    run(stream->close());
}

TEST_F(TarnTranslateStreamTest, EndsWithOneClosedEventHoweverOftenItIsClosed) {
    TestService service(network_);
    const auto stream = open(service).value();
    const auto relay = nextClient(service);
    relay->send(finalSource);
    EXPECT_EQ(next(*stream), "source Hallo|");
    run(stream->close());
    run(stream->close());
    relay->send(finalSource);
    EXPECT_EQ(next(*stream), "closed");
    EXPECT_EQ(next(*stream), "end");
    EXPECT_FALSE(stream->isAlive());
    EXPECT_EQ(run(stream->waitDead()), "");
    EXPECT_EQ(run(stream->health().next()), std::nullopt);
    EXPECT_TRUE(run(service.endings.next()));
    run(stream->sendAudio(std::vector<std::byte>(3200)));
}

TEST_F(TarnTranslateStreamTest, StaysOpenAndSaysItIsDeadWhenTheServerEndsIt) {
    for (const auto code : std::initializer_list<std::uint16_t>{4001, 1000, 1011, 4000}) {
        SCOPED_TRACE(code);
        TestService service(network_);
        const auto stream = open(service).value();
        nextClient(service)->close(code, "");
        const auto reason = run(stream->waitDead());
        EXPECT_THAT(reason, testing::HasSubstr(std::to_string(code)));
        EXPECT_FALSE(stream->isAlive());
        EXPECT_FALSE(stream->events().isFinished());
        EXPECT_EQ(run(stream->health().next()), (ConnectionHealth{ConnectionHealth::State::lost, reason}));
        EXPECT_EQ(run(stream->health().next()), std::nullopt);
        run(stream->close());
        EXPECT_EQ(next(*stream), code == 4001 ? "unauthorized" : "closed");
        EXPECT_EQ(next(*stream), code == 4001 ? "closed" : "end");
    }
}

TEST_F(TarnTranslateStreamTest, FailsToOpenWithTheStatusOfTheRefusal) {
    for (const int status : {401, 403, 503}) {
        const TestService service(network_, status);
        const auto stream = open(service);
        ASSERT_FALSE(stream);
        const auto* const transport = stream.error().as<TarnServerError::Transport>();
        ASSERT_NE(transport, nullptr);
        EXPECT_EQ(transport->error.httpStatus, status);
        EXPECT_EQ(stream.error().meansSignedOut(), status == 401);
        EXPECT_EQ(diagnosis(stream.error()),
                  "the server answered the upgrade with status " + std::to_string(status) + ": no");
    }
    const TestService echo(network_, 403);
    const auto stream = open(echo, "no");
    ASSERT_FALSE(stream);
    EXPECT_EQ(diagnosis(stream.error()), "the server answered the upgrade with status 403")
        << "the token stands in what the server said";
}

TEST_F(TarnTranslateStreamTest, EndsItsConnectionWhenItsOwnerJustDropsIt) {
    TestService service(network_);
    auto stream = open(service).value();
    const auto events = stream->events();
    stream.reset();
    EXPECT_TRUE(run(service.endings.next()));
    EXPECT_EQ(run(events.next()), std::nullopt);
    for (const auto& line : log_.lines()) {
        EXPECT_EQ(line.find("secret"), std::string::npos) << line;
    }
}

}  // namespace
}  // namespace tarn
