// A whole relay on a loopback port, its tokens on disk, and clients that say exactly the bytes a test wants.

#include "TarnRelay/stream/RelayServer.h"

#include <gmock/gmock.h>

#include <boost/json.hpp>
#include <memory>
#include <string>

#include "LoopbackRelay.h"
#include "RelayProgram.h"
#include "TarnPlatform/base/NetworkThread.h"
#include "TarnRelay/stream/ScriptEngine.h"
#include "platform_net_server/RawPeer.h"

namespace tarn::relay {
namespace {

using test::RawPeer;
using test::textFrame;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* script = R"({"t":0,"event":{"type":"session.created"}}
{"t":0,"raw":"second"}
{"after_audio":3,"close":1000})";

/// Plays the script, except to clients who want a language that it does not have.
class PickyEngine final : public TranslationEngine {
public:
    explicit PickyEngine(SerialExecutor executor)
        : script_(parseScript(script).value(), std::move(executor), Clock::system()) {}

    std::expected<std::unique_ptr<EngineStream>, Refusal> open(const StreamSettings& settings,
                                                               std::shared_ptr<EventSink> sink) override {
        if (settings.target == "tlh") {
            return std::unexpected(Refusal{"only \"es\" is spoken here", 1008});
        }
        last = settings;
        return script_.open(settings, std::move(sink));
    }

    ServedLanguages languages() const override {
        return {{"en"}, {{"en", {"es", "fr"}}}, {{{"es", {"Ana"}}}}};
    }

    StreamSettings last;

private:
    ScriptEngine script_;
};

class RelayServerTest : public test::LoopbackRelay {
protected:
    RelayServerTest() : token_(tokens_.issue("ada@example.org").value()) {
        engine_ = std::make_unique<PickyEngine>(network_.executor());
    }

    std::string authorization() const { return "Authorization: Bearer " + token_ + "\r\n"; }

    /// A client whose stream is open and has its first event.
    void openStream(RawPeer& peer, const std::string& query = "target=es") {
        ASSERT_THAT(peer.upgrade("/tarn/ws/translate-stream?" + query, authorization()),
                    StartsWith("HTTP/1.1 101"));
        peer.sendFrame(textFrame, "{}");
        ASSERT_EQ(peer.readFrame().payload, R"({"type":"session.created"})");
        ASSERT_EQ(peer.readFrame().payload, "second");
    }

    boost::json::object health() {
        const auto answer = answerTo("GET /healthz", "Host: localhost\r\n");
        return boost::json::parse(answer.substr(answer.find("\r\n\r\n") + 4)).as_object();
    }

    /// What the engine was last asked for.
    StreamSettings asked() {
        StreamSettings last;
        onNetwork([&] { last = static_cast<PickyEngine&>(*engine_).last; });
        return last;
    }

    std::string token_;
};

TEST_F(RelayServerTest, AnswersTheAccountApi) {
    const std::string host = "Host: 127.0.0.1:8787\r\n";
    const std::string told =
        R"("languages":{"hears":["en"],"translates":{"en":["es","fr"]},"voices":{"es":["Ana"]}})";
    struct Case {
        std::string requestLine;
        std::string headers;
        std::string status;
        std::string body;
    };
    const std::vector<Case> cases{
        {"GET /tarn/api/me", host + authorization(), "200", R"("email":"ada@example.org")"},
        {"GET /tarn/api/me", host + "authorization: bearer " + token_ + "\r\n", "200", R"("user_id":")"},
        {"GET /tarn/api/me", host, "401", R"({"error":)"},
        {"GET /tarn/api/me", host + "Authorization: Basic " + token_ + "\r\n", "401", R"({"error":)"},
        {"GET /tarn/api/me", host + authorization() + authorization(), "401", R"({"error":)"},
        {"GET /tarn/api/me", host + authorization(), "200", told},
        {"GET /healthz", host, "200", told},
        {"HEAD /healthz", host, "200", "\r\n\r\n"},
        {"POST /tarn/api/me", host + authorization(), "405", "Allow: GET"},
        {"GET /tarn/api/logout", host + authorization(), "405", "Allow: POST"},
        {"POST /tarn/api/logout", host, "401", R"({"error":)"},
        {"GET /tarn/api/me/", host + authorization(), "404", R"({"error":)"},
        {"GET /auth/?return_to=macos", host, "404", R"({"error":)"},
        {"GET /tarn/ws/translate-stream?target=es", host + authorization(), "426", R"({"error":)"},
        {"GET /healthz", "", "403", "Host"},
        {"GET /healthz", host + host, "403", "Host"},
        {"GET /healthz", "Host: attacker.example\r\n", "403", "names of this machine"},
        {"GET /healthz", "Host: 127.0.0.1@attacker.example\r\n", "403", "Host"},
        {"GET /healthz", "Host: LOCALHOST\r\n", "200", R"("engine":"script")"},
        {"GET /healthz", "Host: [::1]:80\r\n", "200", R"("status":"ok")"},
        {"GET /tarn/api/me", host + authorization() + "Origin: https://attacker.example\r\n", "403",
         "other web"},
        {"GET /tarn/api/me", host + authorization() + "Origin: http://127.0.0.1:8787\r\n", "200", "ada@"},
    };
    for (const auto& [requestLine, headers, status, body] : cases) {
        EXPECT_THAT(answerTo(requestLine, headers), AllOf(StartsWith("HTTP/1.1 " + status), HasSubstr(body)))
            << requestLine << "\n"
            << headers;
    }
}

TEST_F(RelayServerTest, RefusesBadUpgradesWithAnHttpStatus) {
    const auto refuses = [this](const std::string& query, const std::string& headers,
                                const std::string& status) {
        auto peer = connect();
        const auto head = peer.upgrade("/tarn/ws/translate-stream?" + query, headers);
        EXPECT_THAT(head, AllOf(StartsWith("HTTP/1.1 " + status), HasSubstr("application/json"))) << query;
    };
    refuses("target=es", "", "401");
    refuses("target=es", "Authorization: Bearer " + std::string(43, 'A') + "\r\n", "401");
    refuses("target=es", authorization() + "Origin: http://attacker.example\r\n", "403");
    for (const std::string& query :
         {std::string(), std::string("target="), "target=" + std::string(17, 'a'),
          std::string("target=es&target=fr"), std::string("target=es&t%61rget=fr"),
          std::string("target=es%2"), std::string("target=es&source="), std::string("target=es&voice=a%00b"),
          "target=es&voice=" + std::string(65, 'v'), std::string("target=es&clone=%07"),
          "target=es&clone=" + std::string(65, 'c'), std::string("target=es&vad_ms="),
          std::string("target=es&vad_ms=8e2"), std::string("target=es&vad_ms=2147483648"),
          std::string("target=es&vad_ms=-2147483649")}) {
        refuses(query, authorization(), "400");
    }
    EXPECT_EQ(health()["streams_total"], 0);
    EXPECT_EQ(health()["requests_unauthorized"], 2);
}

TEST_F(RelayServerTest, GivesTheEngineWhatTheQuerySays) {
    auto peer = connect();
    openStream(peer, "target=zh-Hans&source=en&voice=en%2Bf3%20x&clone=always&vad_ms=2147483647&later=1");
    auto last = asked();
    EXPECT_EQ(last.target, "zh-Hans");
    EXPECT_EQ(last.source, "en");
    EXPECT_EQ(last.voice, "en+f3 x");
    EXPECT_EQ(last.clone, "always");
    EXPECT_EQ(last.silenceMs, 2147483647);
    auto plain = connect();
    openStream(plain);
    last = asked();
    EXPECT_EQ(last.source, std::nullopt);
    EXPECT_EQ(last.voice, std::nullopt);
    EXPECT_EQ(last.clone, "none");
    EXPECT_EQ(last.silenceMs, std::nullopt);
    auto odd = connect();
    openStream(odd, "target=es&clone=every%20minute&vad_ms=-5");
    EXPECT_EQ(asked().clone, "every minute");
    EXPECT_EQ(asked().silenceMs, -5);
}

TEST_F(RelayServerTest, PlaysAStreamToItsEndAndCountsIt) {
    {
        auto peer = connect();
        openStream(peer);
        EXPECT_EQ(health()["streams_open"], 1);
        peer.sendFrame(textFrame, R"({"type":"input_audio_buffer.append","audio":"AAAA"})");
        EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 1000);
        peer.sendFrame(test::closeFrame, "\x03\xe8");
    }
    // The relay stops counting the stream a moment after the client has seen its end.
    auto counters = health();
    for (int attempt = 0; attempt < 1000 && counters.at("streams_open") != 0; ++attempt) {
        counters = health();
    }
    EXPECT_EQ(counters.at("streams_open"), 0);
    EXPECT_EQ(counters.at("streams_total"), 1);
}

TEST_F(RelayServerTest, TellsARefusedClientWhyBeforeItCloses) {
    auto peer = connect();
    ASSERT_THAT(peer.upgrade("/tarn/ws/translate-stream?target=tlh", authorization()),
                StartsWith("HTTP/1.1 101"));
    const auto frames = peer.readFramesToClose();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].payload, R"({"type":"tarn.error","error":"only \"es\" is spoken here"})");
    EXPECT_EQ(RawPeer::closeCode(frames[1]), 1008);
    EXPECT_EQ(health()["streams_refused"], 1);
    EXPECT_EQ(health()["streams_open"], 0);
}

TEST_F(RelayServerTest, RefusesBinaryMessages) {
    auto peer = connect();
    openStream(peer);
    peer.sendFrame(test::binaryFrame, "pcm");
    EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 1003);
}

TEST_F(RelayServerTest, EndsLiveStreamsOfARevokedTokenAndNoOthers) {
    auto revoked = connect();
    openStream(revoked);
    token_ = tokens_.issue("bob@example.org").value();
    auto other = connect();
    openStream(other);
    EXPECT_EQ(test::runRelay(state_, {"revoke-token", "ada@example.org"}).ending, "ended with status 0");
    EXPECT_EQ(RawPeer::closeCode(revoked.readFrame()), 4001);
    other.sendFrame(textFrame, R"({"type":"input_audio_buffer.append","audio":"AAAA"})");
    EXPECT_EQ(RawPeer::closeCode(other.readFrame()), 1000);
}

TEST_F(RelayServerTest, EndsLiveStreamsWhenARequestFindsTheTokensGone) {
    auto peer = connect();
    openStream(peer);
    // A watch on a folder does not notice that the folder above it was moved.
    std::filesystem::rename(state_.file("tarn"), state_.file("elsewhere"));
    EXPECT_THAT(answerTo("GET /tarn/api/me", "Host: localhost\r\n" + authorization()),
                StartsWith("HTTP/1.1 401"));
    EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 4001);
}

TEST_F(RelayServerTest, EndsTheTokenAndItsStreamsAtLogout) {
    auto peer = connect();
    openStream(peer);
    EXPECT_THAT(answerTo("POST /tarn/api/logout",
                         "Host: localhost\r\nContent-Length: 2\r\n" + authorization() + "\r\n{}"),
                AllOf(StartsWith("HTTP/1.1 200"), HasSubstr("\r\n\r\n{}")));
    EXPECT_EQ(RawPeer::closeCode(peer.readFrame()), 4001);
    EXPECT_THAT(answerTo("GET /tarn/api/me", "Host: localhost\r\n" + authorization()),
                StartsWith("HTTP/1.1 401"));
}

TEST_F(RelayServerTest, TellsFurtherClientsThatItIsBusy) {
    TearDown();
    RelayServer::Options options;
    options.maxStreams = 1;
    start(std::move(options));
    auto first = connect();
    openStream(first);
    auto second = connect();
    ASSERT_THAT(second.upgrade("/tarn/ws/translate-stream?target=es", authorization()),
                StartsWith("HTTP/1.1 101"));
    const auto frames = second.readFramesToClose();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_THAT(frames[0].payload, HasSubstr("busy"));
    EXPECT_EQ(RawPeer::closeCode(frames[1]), 1013);
    // The client that has its place keeps it.
    first.sendFrame(textFrame, R"({"type":"input_audio_buffer.append","audio":"AAAA"})");
    EXPECT_EQ(RawPeer::closeCode(first.readFrame()), 1000);
}

}  // namespace
}  // namespace tarn::relay
