// Whole sessions on the sound of a private audio server, in front of the real relay: nothing in between is a
// stand-in but the script that the relay plays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "MemorySecretStore.h"
#include "RelayFixture.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "TarnPlatform/net/Base64.h"
#include "support/LogCapture.h"
#include "support/Program.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

/// Half a second of what the service says: a tone of 900 Hz, 24 kHz.
std::string spokenTone() {
    std::vector<std::byte> bytes;
    for (int i = 0; i < 12000; ++i) {
        const auto sample =
            static_cast<std::int16_t>(std::lround(8000 * std::sin(2 * std::numbers::pi * 900 * i / 24000)));
        bytes.push_back(static_cast<std::byte>(sample & 0xFF));
        bytes.push_back(static_cast<std::byte>((sample >> 8) & 0xFF));
    }
    return base64Encode(bytes);
}

std::string script() {
    std::string lines = R"({"t":0,"event":{"type":"session.created"}}
{"after_audio":32000,"event":{"type":"conversation.item.input_audio_transcription.completed","transcript":"heard"}}
{"after_audio":32000,"event":{"type":"response.audio_transcript.done","transcript":"translated"}}
)";
    for (int i = 0; i < 20; ++i) {
        lines += R"({"after_audio":32000,"event":{"type":"response.audio.delta","delta":")" + spokenTone() +
                 "\"}}\n";
    }
    return lines;
}

class SessionGraphTest : public testing::Test {
protected:
    SessionGraphTest() {
        Keychain::useStore(std::make_shared<test::MemorySecretStore>());
        Keychain::set(relay_.token, Keychain::Account::pat);
        auto services = ViewModelServices::real(main_.get_executor());
        services.defaults = UserDefaults::open(folder_.file("settings.json"));
        services.makeServerClient = [this](const PatProvider&) { return relay_.client(); };
        model_ = TranslateViewModel::make(std::move(services));
    }
    ~SessionGraphTest() override {
        model_->stopAll();
        until("all sessions are idle", [this] { return are(ConnectionState::Case::idle); });
        model_.reset();
        until("nothing is left", [this] { return main_.poll() == 0; });
        Keychain::useStore(nullptr);
    }

    void until(const std::string& what, const std::function<bool()>& isSo) {
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        for (main_.restart(); !isSo(); main_.restart()) {
            if (std::chrono::steady_clock::now() > deadline) {
                throw std::runtime_error("not in time: " + what + "; " + reasons());
            }
            main_.run_one_for(10ms);
            main_.poll();
        }
    }
    bool are(ConnectionState::Case kind) const {
        return std::ranges::all_of(model_->sessions(),
                                   [kind](const auto& s) { return s->state().kind() == kind; });
    }
    bool all(const std::function<bool(const TranslateSession&)>& isSo) const {
        return std::ranges::all_of(model_->sessions(), [&](const auto& s) { return isSo(*s); });
    }
    std::string reasons() const {
        std::string all;
        for (const auto& session : model_->sessions()) {
            all += session->state().reason() + ";" + session->sourceText().toStdString() + ";" +
                   std::to_string(session->inputLevel()) + " ";
        }
        return all;
    }
    /// The voice comes after the texts, and reaches the players on the main thread, which stands still while
    /// this records.
    void hearTheDub() {
        until("the dub is heard", [this] {
            test::Recorder recorder(server_, test::PrivateAudioServer::output, test::Recorder::From::monitor);
            recorder.waitFor(0.5);
            return test::toneLevel(recorder.stop().channel(0), 900, 48000) > -40;
        });
    }

    test::PrivateAudioServer server_;
    test::LogCapture log_;
    test::TemporaryFolder folder_;
    test::RelayFixture relay_{folder_.path(), script()};
    asio::io_context main_;
    std::shared_ptr<TranslateViewModel> model_;
};

TEST_F(SessionGraphTest, FourSessionsOfThreeKindsRunAtOnceAndAgain) {
    model_->setMode(AppMode::conversation);
    model_->addSession();
    model_->addSession();
    const auto& sessions = model_->sessions();
    sessions[2]->setCaptureSource(CaptureSource::application);
    sessions[2]->setApplicationBundleID("org.film");
    sessions[3]->setCaptureSource(CaptureSource::mic);
    sessions[3]->setVoiceProcessing(false);

    model_->startAll();
    until("the application is missed",
          [&] { return sessions[2]->state().kind() == ConnectionState::Case::error; });
    EXPECT_THAT(sessions[2]->errorMessage().toStdString(),
                testing::HasSubstr("App 'org.film' isn't running"));

    const test::Player film(server_, server_.toneFile(500, -12, 120),
                            {.properties = {{"application.id", "org.film"}}});
    const test::Player talker(server_, server_.toneFile(700, -12, 120),
                              {.target = test::PrivateAudioServer::microphoneFeed});
    model_->refreshApps();
    until("the application is listed", [&] {
        return std::ranges::any_of(model_->availableApps(),
                                   [](const auto& app) { return app.bundleID == "org.film"; });
    });
    sessions[2]->setApplicationBundleID("org.film");
    for (int round = 0; round < 2; ++round) {
        model_->startAll();
        until("all run", [&] { return are(ConnectionState::Case::running); });
        until("all are heard and translated", [&] {
            return all([](const auto& s) {
                return s.sourceText() == "heard" && s.translationText() == "translated";
            });
        });
        until("all show a level", [&] { return all([](const auto& s) { return s.inputLevel() > 0.01F; }); });
        hearTheDub();
        EXPECT_EQ(relay_.openStreams(), 4);
        model_->stopAll();
        until("all are idle", [&] { return are(ConnectionState::Case::idle); });
    }
    until("the relay has no stream left", [&] { return relay_.openStreams() == 0; });
}

TEST_F(SessionGraphTest, AConversationChangesItsSettingsWhileItRuns) {
    const test::Player film(server_, server_.toneFile(500, -12, 120), {});
    const test::Player talker(server_, server_.toneFile(700, -12, 120),
                              {.target = test::PrivateAudioServer::microphoneFeed});
    model_->setMode(AppMode::conversation);
    const auto first = model_->sessions()[0];
    const auto second = model_->sessions()[1];
    second->setCaptureSource(CaptureSource::mic);
    model_->startAll();
    until("both are heard", [&] { return all([](const auto& s) { return s.sourceText() == "heard"; }); });
    model_->setRate(1.5);
    model_->setOutputGain(2);
    EXPECT_EQ(first->player()->rate(), 1.5F);
    EXPECT_EQ(second->micSession()->rate(), 1.5F);
    EXPECT_EQ(first->player()->gain(), 2.0F);
    EXPECT_EQ(second->micSession()->gain(), 2.0F);

    first->setCaptureSource(CaptureSource::mic);
    second->setCaptureSource(CaptureSource::system);
    model_->reconnect(first);
    model_->reconnect(second);
    until("both have changed places", [&] { return first->micSession() && second->player(); });
    until("both are heard again",
          [&] { return all([](const auto& s) { return s.sourceText() == "heard"; }); });
    model_->setMode(AppMode::solo);
    until("one is left", [&] { return relay_.openStreams() == 1; });
    EXPECT_EQ(first->state(), ConnectionState::running());

    server_.killPipeWire();
    server_.startPipeWire();
    EXPECT_EQ(first->state(), ConnectionState::running());
    first->stop();
    until("it stops", [&] { return first->state() == ConnectionState::idle(); });
    first->start(1, 1, TranslateSession::Backend::server(relay_.client()));
    until("and starts on the new server", [&] { return first->state() == ConnectionState::running(); });
}

}  // namespace
}  // namespace tarn
