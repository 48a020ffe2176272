// A session in front of the real relay: sound that is captured goes there, what it answers comes back, and
// the ways in which it can fail. Sound itself is played by the test.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "RelayFixture.h"
#include "SessionWorld.h"
#include "support/LogCapture.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

constexpr const char* script = R"({"t":0,"event":{"type":"session.created"}}
{"after_audio":16000,"event":{"type":"conversation.item.input_audio_transcription.text","text":"good","stash":" morning"}}
{"after_audio":32000,"event":{"type":"conversation.item.input_audio_transcription.completed","transcript":"good morning"}}
{"after_audio":32000,"event":{"type":"response.audio_transcript.text","text":"buenos","stash":" días"}}
{"after_audio":32000,"event":{"type":"response.audio.delta","delta":"AAAAAAAAAAAAAAAA"}}
{"after_audio":64000,"event":{"type":"tarn.error","error":"quota used up"}})";

class SessionRelayTest : public testing::Test {
protected:
    SessionRelayTest() {
        session_->onAuthFailure = [this] { ++authFailures_; };
    }
    ~SessionRelayTest() override {
        session_->stop();
        until("the session is idle", [this] { return state() == "idle"; });
        session_.reset();
    }

    void until(const std::string& what, const std::function<bool()>& isSo) { world_.until(what, isSo); }

    void start(CaptureSource source = CaptureSource::system) {
        session_->setCaptureSource(source);
        session_->start(1, 1, TranslateSession::Backend::server(relay_.client()));
        until("the start is decided",
              [this] { return session_->state().kind() != ConnectionState::Case::connecting; });
    }

    /// From a thread of the capture's own: so much sound at 48 kHz.
    void capture(std::chrono::milliseconds length) {
        const auto forward = session_->sink() ? session_->sink()->onPCM : session_->micSession()->onPCM;
        std::thread([forward, length] {
            for (auto left = length; left > 0ms; left -= 10ms) {
                auto buffer =
                    PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 480).value();
                buffer.setFrameLength(480);
                forward(buffer);
            }
        }).join();
    }
    std::string state() const { return test::stateText(session_->state()); }

    test::LogCapture log_;
    const test::TemporaryFolder folder_;
    test::RelayFixture relay_{folder_.path(), script};
    test::SessionWorld world_;  // its tasks hold connections, so it goes before the network does
    std::shared_ptr<TranslateSession> session_ = world_.makeSession();
    int authFailures_ = 0;
};

TEST_F(SessionRelayTest, SendsWhatIsCapturedAndShowsWhatComesBack) {
    for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
        start(source);
        ASSERT_EQ(state(), "running");
        capture(600ms);
        until("a part is heard", [this] { return session_->sourceText() == "good morning"; });
        EXPECT_EQ(session_->translationText(), "");
        capture(1000ms);
        until("it is translated", [this] { return session_->translationText() == "buenos días"; });
        until("and spoken", [this] { return world_.dub.lock()->queuedFrames() == 6; });
        capture(1000ms);
        until("a complaint is shown", [this] { return state() == "error(quota used up)"; });
        EXPECT_EQ(session_->errorMessage(), "quota used up");
        session_->stop();
        until("the session is idle", [this] { return state() == "idle"; });
    }
    EXPECT_EQ(authFailures_, 0);
}

TEST_F(SessionRelayTest, ATokenRevokedInARunEndsTheSignIn) {
    start();
    relay_.revoke();
    until("the refusal is shown", [this] { return state() == "error(session expired)"; });
    EXPECT_EQ(authFailures_, 1);
    start();
    EXPECT_EQ(state(), "error(Session expired — please sign in again)") << "refused at the door";
    EXPECT_EQ(authFailures_, 2);
}

TEST_F(SessionRelayTest, AConnectionThatBreaksFallsSilentUntilTheSessionIsStoppedOrStarted) {
    start();
    ASSERT_EQ(state(), "running");
    const auto stream = session_->serverStream();
    relay_.end();
    until("the connection is dead", [&] { return !stream->isAlive(); });
    capture(500ms);
    EXPECT_EQ(state(), "running");
    session_->stop();
    until("the session is idle", [this] { return state() == "idle"; });
    start();
    EXPECT_THAT(state(), testing::MatchesRegex("error\\(Cannot connect to .*: connection refused\\)"));
    EXPECT_EQ(authFailures_, 0);
}

}  // namespace
}  // namespace tarn
