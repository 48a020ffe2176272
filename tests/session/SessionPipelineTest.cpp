// How a run comes up, goes on and ends, with everything around it played by the test.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "SessionWorld.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* privacySettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";

class SessionPipelineTest : public testing::Test {
protected:
    SessionPipelineTest() {
        session_->onAuthFailure = [this] { ++authFailures_; };
        session_->onScreenRecNeeded = [this] { ++screenNeeded_; };
    }

    void start(CaptureSource source) {
        session_->setCaptureSource(source);
        start();
    }
    void start() {
        session_->start(1.25F, 2.0F, world_.backend());
        world_.settle();
    }
    void stop() {
        session_->stop();
        world_.settle();
    }
    void tell(TarnTranslateEvent event) {
        world_.streams.back().lock()->events().push(std::move(event));
        world_.settle();
    }
    std::string state() const { return test::stateText(session_->state()); }

    void expectNothingLeft() {
        EXPECT_EQ(world_.enginesRunning, 0);
        EXPECT_EQ(world_.capturesRunning, 0);
        EXPECT_EQ(world_.streamsOpen, 0);
        EXPECT_THAT(world_.trail, Not(Contains(AnyOf("stream dropped", "capture dropped"))));
        EXPECT_EQ(session_->player(), nullptr);
        EXPECT_EQ(session_->micSession(), nullptr);
        EXPECT_EQ(session_->sink(), nullptr);
        EXPECT_EQ(session_->stream(), nullptr);
        EXPECT_EQ(session_->resampler(), nullptr);
        EXPECT_EQ(session_->serverStream(), nullptr);
        for (const auto& stream : world_.streams) {
            EXPECT_TRUE(stream.expired()) << "something keeps a stream";
        }
        for (const auto& player : world_.players) {
            EXPECT_TRUE(player.expired()) << "something keeps a player";
        }
        for (const auto& microphone : world_.microphones) {
            EXPECT_TRUE(microphone.expired()) << "something keeps a microphone";
        }
    }

    test::SessionWorld world_;
    std::shared_ptr<TranslateSession> session_ = world_.makeSession();
    std::shared_ptr<std::vector<std::string>> states_ = test::statesOf(*session_);
    int authFailures_ = 0;
    int screenNeeded_ = 0;
};

TEST_F(SessionPipelineTest, BuildsAndTakesApartInTheOrderOfTheSource) {
    session_->setApplicationBundleID("org.vlc");
    const std::string open = "open zh>en voice - none 2000";
    const std::vector<std::string> system{"player start", open,    "capture all",
                                          "capture stop", "close", "player stop"};
    const std::vector<std::string> application{"player start", open,    "capture org.vlc",
                                               "capture stop", "close", "player stop"};
    const std::vector<std::string> microphone{open, "mic start", "close", "mic stop"};
    for (const auto& [source, steps] : {std::pair{CaptureSource::system, system},
                                        {CaptureSource::application, application},
                                        {CaptureSource::mic, microphone}}) {
        SCOPED_TRACE(rawValue(source));
        world_.trail.clear();
        states_->clear();
        start(source);
        ASSERT_EQ(state(), "running");
        const bool isMic = source == CaptureSource::mic;
        EXPECT_EQ(session_->player() == nullptr, isMic);
        EXPECT_EQ(session_->stream() == nullptr, isMic);
        EXPECT_EQ(session_->micSession() != nullptr, isMic);
        EXPECT_NE(session_->resampler(), nullptr);
        EXPECT_NE(session_->serverStream(), nullptr);
        EXPECT_EQ(isMic ? session_->micSession()->rate() : session_->player()->rate(), 1.25F);
        EXPECT_EQ(isMic ? session_->micSession()->gain() : session_->player()->gain(), 2.0F);
        stop();
        EXPECT_EQ(world_.trail, steps);
        EXPECT_THAT(*states_, ElementsAre("connecting", "running", "stopping", "idle"));
        expectNothingLeft();
    }
}

TEST_F(SessionPipelineTest, AsksTheServerForWhatTheSettingsSay) {
    struct Case {
        const char *source, *target, *voice, *clone;
        int silence;
        std::string opened;
    };
    const std::vector<Case> cases{
        {"zh", "en", "", "none", 2000, "open zh>en voice - none 2000"},
        {"", "en", "Cherry", "once", 1, "open ->en voice Cherry once 1"},
        {"ja", "", "", "strange", 0, "open ja> voice - strange -"},
        {"xx", "yy", "", "", -300, "open xx>yy voice -  -"},
    };
    session_->setCaptureSource(CaptureSource::mic);
    for (const Case& c : cases) {
        session_->setSourceLang(c.source);
        session_->setTargetLang(c.target);
        session_->setVoice(c.voice);
        session_->setVoiceClone(c.clone);
        session_->setSilenceMs(c.silence);
        world_.trail.clear();
        start();
        EXPECT_EQ(world_.trail.front(), c.opened);
        stop();
    }
}

TEST_F(SessionPipelineTest, PassesTheMicrophoneThatWasChosen) {
    session_->setMicDeviceUID("mic-2");
    session_->setVoiceProcessing(false);
    start(CaptureSource::mic);
    EXPECT_THAT(world_.microphone->calls, HasSubstr("device 2 "));
    EXPECT_THAT(world_.microphone->calls, Not(HasSubstr("enable")));
    stop();
    world_.microphone->calls.clear();
    session_->setMicDeviceUID("");
    session_->setVoiceProcessing(true);
    start();
    EXPECT_THAT(world_.microphone->calls, Not(HasSubstr("device")));
    EXPECT_THAT(world_.microphone->calls, HasSubstr("enable"));
}

TEST_F(SessionPipelineTest, ShowsEachEventAndKeepsOnReading) {
    start(CaptureSource::system);
    tell(translate::SourceText{"你好", false});
    tell(translate::SourceText{"你好世界", true});
    tell(translate::TranslatedText{"Hello", true});
    tell(translate::TranslatedText{"", false});
    EXPECT_EQ(session_->sourceText(), "你好世界");
    EXPECT_EQ(session_->translationText(), "") << "replaced, not joined";
    tell(translate::Error{"quota"});
    EXPECT_EQ(state(), "error(quota)");
    EXPECT_EQ(session_->errorMessage(), "quota");
    EXPECT_EQ(world_.capturesRunning, 1) << "the run goes on";
    EXPECT_TRUE(session_->canStop());
    world_.closeBarrier.isClosed = true;
    world_.defaults->set("app.language", "en");
    tell(translate::Unauthorized{});
    EXPECT_EQ(state(), "error(session expired)");
    EXPECT_EQ(session_->errorMessage(), "Session expired — please sign in again");
    world_.defaults->set("app.language", "zhHans");
    tell(translate::Unauthorized{});
    EXPECT_EQ(session_->errorMessage(), "会话已过期——请重新登录");
    EXPECT_EQ(authFailures_, 2);
    EXPECT_EQ(world_.capturesRunning, 0) << "nobody is listened to for nothing";
    EXPECT_FALSE(session_->canStop());
    tell(translate::TranslatedText{"still", false});
    EXPECT_EQ(session_->translationText(), "still");
    session_->reconnect(1, 1, world_.backend());
    world_.pass(1s);
    EXPECT_EQ(state(), "error(session expired)") << "a failed session does not reconnect";
    world_.openBarriers();
    world_.settle();
    expectNothingLeft();
    stop();
    EXPECT_EQ(session_->sourceText(), "你好世界") << "a stop leaves what is shown";
    EXPECT_EQ(session_->translationText(), "still");
    EXPECT_EQ(session_->errorMessage(), "会话已过期——请重新登录");
    expectNothingLeft();
    start();
    EXPECT_EQ(session_->sourceText(), "");
    EXPECT_EQ(session_->translationText(), "");
    EXPECT_TRUE(session_->errorMessage().isNull());
}

TEST_F(SessionPipelineTest, IgnoresAStartWhileItRuns) {
    start(CaptureSource::system);
    tell(translate::SourceText{"text", false});
    session_->setErrorMessage("shown");
    const auto before = world_.trail;
    start();
    EXPECT_EQ(world_.trail, before);
    EXPECT_EQ(session_->sourceText(), "text");
    EXPECT_EQ(session_->errorMessage(), "shown");
    EXPECT_THAT(*states_, ElementsAre("connecting", "running"));
}

TEST_F(SessionPipelineTest, SaysWhyTheMicrophoneMayNotBeUsedAndOpensTheSettingsWhereThatHelps) {
    world_.microphoneGranted = false;
    for (const auto& [language, message] :
         {std::pair{"en", "Tarn cannot use the microphone: “tarn doctor” in a terminal says what to do."},
          {"zhHans", "Tarn 无法使用麦克风：在终端运行“tarn doctor”可查看解决办法。"}}) {
        world_.defaults->set("app.language", language);
        for (const auto status : {AuthorizationStatus::notDetermined, AuthorizationStatus::restricted,
                                  AuthorizationStatus::denied, AuthorizationStatus::authorized}) {
            world_.microphoneStatus = status;
            world_.openedUrls.clear();
            start(CaptureSource::mic);
            EXPECT_EQ(state(), "error(permission denied)");
            EXPECT_EQ(session_->errorMessage(), message);
            EXPECT_EQ(world_.openedUrls, status == AuthorizationStatus::denied
                                             ? std::vector<std::string>{privacySettings}
                                             : std::vector<std::string>{});
        }
    }
    EXPECT_THAT(world_.trail, IsEmpty());
}

TEST_F(SessionPipelineTest, AsksForTheScreenAndStaysIdleWithoutIt) {
    world_.screenAllowed = false;
    for (const auto source : {CaptureSource::system, CaptureSource::application}) {
        states_->clear();
        world_.trail.clear();
        start(source);
        EXPECT_THAT(*states_, ElementsAre("connecting", "idle"));
        EXPECT_THAT(world_.trail, ElementsAre("screen asked"));
        EXPECT_TRUE(session_->errorMessage().isNull());
    }
    EXPECT_EQ(screenNeeded_, 2);

    world_.captureObstacle = audioServerAbsent().error();
    world_.defaults->set("app.language", "en");
    start();
    EXPECT_EQ(state(), "error(the audio server (PipeWire) is not running)");
    EXPECT_EQ(session_->errorMessage(),
              "The audio server (PipeWire) is not running. Start it: systemctl --user start pipewire.socket "
              "pipewire wireplumber");
    EXPECT_EQ(screenNeeded_, 2) << "nobody has denied anything";
    world_.microphoneGranted = false;
    start(CaptureSource::mic);
    EXPECT_EQ(state(), "error(the audio server (PipeWire) is not running)");
}

TEST_F(SessionPipelineTest, SaysWhatKeepsItFromTheSoundInTheLanguageOfTheWindow) {
    const auto noApplication = Error{.description = "in the system's language",
                                     .domain = captureErrorDomain,
                                     .code = static_cast<int>(CaptureErrorCode::appNotFound)};
    const std::pair<Error, const char*> rows[] = {
        {audioServerSilent().error(),
         "音频服务器（PipeWire）没有应答。请重新启动它：systemctl --user restart pipewire wireplumber"},
        {sessionManagerAbsent().error(),
         "音频服务器的会话管理器（WirePlumber）未运行。请启动它：systemctl --user start wireplumber"},
        {noApplication, "应用 'org.Film' 未运行或不可见。请刷新应用列表或先打开该应用。"},
        {Error{.description = "no space"}, "no space"},
    };
    world_.defaults->set("app.language", "zhHans");
    session_->setApplicationBundleID("org.Film");
    for (const auto& [error, shown] : rows) {
        world_.capture = [error] { return error; };
        start(CaptureSource::application);
        EXPECT_EQ(session_->errorMessage(), shown);
    }
}

TEST_F(SessionPipelineTest, ShowsWhyAStartFailedReleasesItAllAndStartsAgain) {
    struct Case {
        std::string name;
        CaptureSource source;
        std::function<void(test::SessionWorld&)> breakIt;
        std::string shown;
        bool meansSignedOut = false;
    };
    const auto opening = [](TarnServerError error) {
        return [error](test::SessionWorld& world) { world.open = [error] { return error; }; };
    };
    const auto engineFails = [](test::SessionWorld& world) {
        world.engine = [] { return Result<void>(failure(ErrorKind::unavailable, "no audio server")); };
    };
    const std::string expired = "Session expired — please sign in again";
    world_.defaults->set("app.language", "en");
    const auto refused = TarnServerError::transport(Error{ErrorKind::upgrade, "refused", 401});
    std::vector<Case> cases{
        {"player", CaptureSource::system, engineFails, "no audio server"},
        {"capture", CaptureSource::application,
         [](auto& world) { world.capture = [] { return Error{ErrorKind::unavailable, "no display"}; }; },
         "no display"},
        {"microphone", CaptureSource::mic, engineFails,
         MicError{MicError::EngineFailed{"no audio server"}}.errorDescription()},
        {"no microphone", CaptureSource::mic, [](auto& world) { world.microphoneChannels = 0; },
         MicError{MicError::InvalidInputFormat{16000, 0}}.errorDescription()},
    };
    for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
        cases.push_back({"401", source, opening(TarnServerError::http(401, "no")), expired, true});
        cases.push_back({"500", source, opening(TarnServerError::http(500, "no")),
                         "The server answered with status 500: no"});
        cases.push_back({"rubbish", source, opening(TarnServerError::decoding({})),
                         "The server's answer makes no sense: "});
        cases.push_back({"no answer", source,
                         opening(TarnServerError::transport(Error{ErrorKind::timeout, "late"})), "Late"});
        cases.push_back({"upgrade refused", source, opening(refused), expired, true});
        cases.push_back({"no token", source, opening(TarnServerError::notAuthenticated()), expired, true});
    }
    const auto engine = world_.engine;
    const auto open = world_.open;
    const auto capture = world_.capture;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name + " " + std::string(rawValue(c.source)));
        states_->clear();
        authFailures_ = 0;
        c.breakIt(world_);
        start(c.source);
        EXPECT_THAT(*states_, ElementsAre("connecting", "error(" + c.shown + ")"));
        EXPECT_EQ(session_->errorMessage().toStdString(), c.shown);
        EXPECT_EQ(authFailures_, c.meansSignedOut ? 1 : 0);
        expectNothingLeft();
        world_.engine = engine;
        world_.open = open;
        world_.capture = capture;
        world_.microphoneChannels = 1;
        start();
        EXPECT_EQ(state(), "running");
        EXPECT_TRUE(session_->errorMessage().isNull());
        stop();
    }
}

TEST_F(SessionPipelineTest, ReconnectsWithTheSettingsAsTheyAreAThirdOfASecondLater) {
    session_->reconnect(1, 1, world_.backend());
    world_.pass(1s);
    EXPECT_THAT(*states_, IsEmpty()) << "an idle session does not reconnect";
    start(CaptureSource::system);
    states_->clear();
    world_.trail.clear();
    session_->reconnect(0.5F, 3.0F, world_.backend());
    world_.settle();
    world_.pass(299ms);
    EXPECT_THAT(*states_, ElementsAre("stopping", "idle"));
    session_->reconnect(2, 2, world_.backend());  // not running: ignored
    session_->setTargetLang("fr");
    session_->setCaptureSource(CaptureSource::mic);
    world_.pass(1ms);
    EXPECT_THAT(*states_, ElementsAre("stopping", "idle", "connecting", "running"));
    EXPECT_THAT(world_.trail, ElementsAre("capture stop", "close", "player stop",
                                          "open zh>fr voice - none 2000", "mic start"));
    EXPECT_EQ(session_->micSession()->rate(), 0.5F);
    EXPECT_EQ(session_->micSession()->gain(), 3.0F);
}

TEST_F(SessionPipelineTest, AReconnectWaitsForASlowTeardownAndAStopTakesItBack) {
    start(CaptureSource::system);
    world_.capturesStopSlowly = true;
    world_.trail.clear();
    session_->reconnect(1, 1, world_.backend());
    world_.settle();
    world_.pass(300ms);
    EXPECT_EQ(state(), "connecting");
    EXPECT_THAT(world_.trail, ElementsAre("capture stop")) << "the new run waits for the old one";
    world_.openBarriers();
    world_.settle();
    EXPECT_EQ(state(), "running");
    EXPECT_EQ(world_.enginesRunningAtMost, 1);

    session_->reconnect(1, 1, world_.backend());
    world_.settle();
    stop();
    world_.pass(1s);
    EXPECT_EQ(state(), "idle");
    expectNothingLeft();
}

TEST_F(SessionPipelineTest, AStopEndsAStartWhereverItWaits) {
    struct Wait {
        std::string name;
        CaptureSource source;
        std::function<void(test::SessionWorld&)> hold;
    };
    const std::vector<Wait> waits{
        {"permission", CaptureSource::mic, [](auto& world) { world.permissionBarrier.isClosed = true; }},
        {"player", CaptureSource::system, [](auto& world) { world.workersRest = true; }},
        {"open", CaptureSource::system, [](auto& world) { world.openBarrier.isClosed = true; }},
        {"open, stubborn", CaptureSource::mic,
         [](auto& world) { world.openBarrier.isClosed = world.openIgnoresCancellation = true; }},
        {"capture", CaptureSource::application, [](auto& world) { world.captureBarrier.isClosed = true; }},
        {"microphone", CaptureSource::mic, [](auto& world) { world.workersRest = true; }},
    };
    for (const Wait& wait : waits) {
        for (const bool startsAgain : {false, true}) {
            SCOPED_TRACE(wait.name + (startsAgain ? ", started again" : ""));
            states_->clear();
            wait.hold(world_);
            start(wait.source);
            ASSERT_EQ(state(), "connecting");
            stop();
            if (startsAgain) {
                session_->start(1, 1, world_.backend());
            }
            world_.settle();
            if (world_.workersRest) {
                EXPECT_NE(state(), "idle") << "stopped only when the sound has been";
            }
            world_.openBarriers();
            world_.openIgnoresCancellation = false;
            world_.settle();
            EXPECT_EQ(state(), startsAgain ? "running" : "idle");
            EXPECT_EQ(world_.enginesRunning, startsAgain ? 1 : 0);
            EXPECT_EQ(world_.streamsOpen, startsAgain ? 1 : 0);
            stop();
            expectNothingLeft();
        }
    }
    EXPECT_EQ(world_.enginesRunningAtMost, 1);
}

TEST_F(SessionPipelineTest, TheLastOfCallsInOneTurnDecides) {
    const auto calls = [&](const std::string& order) {
        for (const char call : order) {
            if (call == 's') {
                session_->start(1, 1, world_.backend());
            } else if (call == 'x') {
                session_->stop();
            } else {
                session_->reconnect(1, 1, world_.backend());
            }
        }
        world_.settle();
        world_.pass(300ms);
    };
    for (const char* const order :
         {"s", "sx", "sxs", "sxsx", "sxsxs", "sr", "srx", "srs", "sxr", "xs", "xxs", "sxxs", "srxs", "ssr"}) {
        for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
            SCOPED_TRACE(order);
            session_->setCaptureSource(source);
            calls(order);
            const std::string all = order;
            const bool runs = all.back() == 's' || (all.back() == 'r' && all != "sxr");
            EXPECT_EQ(state(), runs ? "running" : "idle");
            EXPECT_EQ(world_.streamsOpen, runs ? 1 : 0);
            stop();
            expectNothingLeft();
        }
    }
}

TEST_F(SessionPipelineTest, AStartEndsWhatAFailedRunHasLeft) {
    start(CaptureSource::system);
    tell(translate::Error{"broken"});
    const auto old = world_.streams.back().lock();
    world_.microphoneGranted = false;
    start(CaptureSource::mic);
    EXPECT_EQ(state(), "error(permission denied)");
    old->events().push(translate::SourceText{"old", false});
    old->events().push(translate::Error{"old"});
    world_.settle();
    EXPECT_EQ(session_->sourceText(), "");
    EXPECT_EQ(state(), "error(permission denied)");
    EXPECT_EQ(world_.capturesRunning, 0);
    EXPECT_EQ(world_.enginesRunning, 0);
    EXPECT_EQ(world_.streamsOpen, 0);
}

TEST_F(SessionPipelineTest, AnErrorWhileConnectingDoesNotKeepANewStartFromReplacingTheOld) {
    world_.captureBarrier.isClosed = true;
    start(CaptureSource::system);
    tell(translate::Error{"early"});
    EXPECT_EQ(state(), "error(early)");
    EXPECT_TRUE(session_->canStop());
    start();
    EXPECT_EQ(state(), "connecting");
    world_.openBarriers();
    world_.settle();
    EXPECT_EQ(state(), "running");
    EXPECT_EQ(world_.enginesRunning, 1);
    EXPECT_EQ(world_.streamsOpen, 1);
    EXPECT_EQ(world_.capturesRunning, 1);
    EXPECT_EQ(world_.enginesRunningAtMost, 1);
}

TEST_F(SessionPipelineTest, WhatTheServiceSaysWhileConnectingStaysToBeSeen) {
    for (const bool refuses : {false, true}) {
        world_.captureBarrier.isClosed = true;
        start(CaptureSource::system);
        tell(refuses ? TarnTranslateEvent(translate::Unauthorized{}) : translate::Error{"early"});
        world_.openBarriers();
        world_.settle();
        EXPECT_EQ(state(), refuses ? "error(session expired)" : "error(early)");
        EXPECT_EQ(session_->canStop(), !refuses) << "a run that was refused is none";
        EXPECT_EQ(world_.capturesRunning, refuses ? 0 : 1);
        stop();
        EXPECT_EQ(state(), "idle");
        expectNothingLeft();
    }
}

TEST_F(SessionPipelineTest, ObserversMayCallTheSession) {
    for (const char* const moment : {"connecting", "running", "stopping", "error(broken)"}) {
        for (const bool stops : {true, false}) {
            SCOPED_TRACE(moment);
            const auto once = std::make_shared<bool>(true);
            const auto connection = QObject::connect(
                session_.get(), &TranslateSession::stateChanged, session_.get(), [&, once, stops] {
                    if (state() == moment && std::exchange(*once, false)) {
                        if (stops) {
                            session_->stop();
                        } else {
                            session_->start(1, 1, world_.backend());
                        }
                    }
                });
            start(CaptureSource::system);
            const bool isUp = state() == "running";
            if (isUp && moment == std::string("error(broken)")) {
                tell(translate::Error{"broken"});
            } else if (isUp) {
                stop();
            }
            const bool endsRunning =
                !stops && moment != std::string("connecting") && moment != std::string("running");
            EXPECT_EQ(state(), endsRunning ? "running" : "idle");
            EXPECT_NE(session_->errorMessage(), endsRunning ? "broken" : "none");
            EXPECT_EQ(world_.streamsOpen, endsRunning ? 1 : 0);
            QObject::disconnect(connection);
            stop();
            expectNothingLeft();
        }
    }
}

TEST_F(SessionPipelineTest, ADestroyedSessionLeavesNothingBehind) {
    for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
        for (const std::string moment :
             {"running", "connecting", "stopping", "stop called", "reconnecting"}) {
            SCOPED_TRACE(moment);
            session_ = world_.makeSession();
            world_.openBarrier.isClosed = moment == "connecting";
            start(source);
            world_.closeBarrier.isClosed = moment == "stopping";
            if (moment == "stopping") {
                stop();
            } else if (moment == "stop called") {
                session_->stop();
            } else if (moment == "reconnecting") {
                session_->reconnect(1, 1, world_.backend());
            }
            session_.reset();
            world_.settle();
            world_.openBarriers();
            world_.pass(1s);
            session_ = world_.makeSession();
            expectNothingLeft();
        }
    }
}

TEST_F(SessionPipelineTest, ShowsTheLevelOfTheRunThatIsShown) {
    start(CaptureSource::system);
    const auto old = session_->sink();
    old->onLevel(0.5F);
    EXPECT_EQ(session_->inputLevel(), 0.0F) << "the capture's thread touches no field";
    world_.settle();
    EXPECT_EQ(session_->inputLevel(), 0.5F);
    stop();
    EXPECT_EQ(session_->inputLevel(), 0.0F) << "nothing is listened to";
    old->onLevel(0.25F);
    world_.settle();
    EXPECT_EQ(session_->inputLevel(), 0.0F);
    start();
    EXPECT_EQ(session_->inputLevel(), 0.0F);
    session_->sink()->onLevel(0.75F);
    world_.settle();
    EXPECT_EQ(session_->inputLevel(), 0.75F);
    session_->sink()->onEnd();
    world_.settle();
    EXPECT_EQ(session_->inputLevel(), 0.0F) << "the capture has ended by itself";
}

TEST_F(SessionPipelineTest, SaysWhatIsWrongWithARunThatGoesOn) {
    const auto health = [this] {
        std::string names;
        for (const auto& [fault, value] : session_->health()) {
            names += (names.empty() ? "" : " ") + std::string(nameOf(fault));
        }
        return names;
    };
    const auto connection = [this](ConnectionHealth::State now) {
        world_.streams.back().lock()->health().push({now});
        world_.settle();
    };
    session_->setMicDeviceUID("mic-2");
    start(CaptureSource::mic);
    ASSERT_TRUE(world_.watchedSound);
    EXPECT_EQ(world_.watchedSound->microphoneUID, "mic-2");
    stop();
    EXPECT_FALSE(world_.watchedSound);

    start(CaptureSource::system);
    EXPECT_FALSE(world_.watchedSound->microphone);
    EXPECT_EQ(health(), "");
    connection(ConnectionHealth::State::stalled);
    EXPECT_EQ(health(), "connectionStalled");
    connection(ConnectionHealth::State::answering);
    EXPECT_EQ(health(), "");
    const auto say = [this](ConnectionHealth now, SessionFault fault) {
        world_.streams.back().lock()->health().push(std::move(now));
        world_.settle();
        const auto& faults = session_->health();
        return faults.contains(fault) ? text(textOf(fault), AppLanguage::en, {faults.at(fault)}) : "nothing";
    };
    using State = ConnectionHealth::State;
    EXPECT_EQ(say({State::slow, "", false, 12}, SessionFault::connectionSlow),
              "The connection is too slow: 12 s behind");
    EXPECT_EQ(health(), "connectionSlow");
    EXPECT_EQ(say({State::slow, "", false, 13}, SessionFault::connectionSlow),
              "The connection is too slow: 13 s behind");
    EXPECT_EQ(say({State::lost, "[quota] Out of\ncredit", true}, SessionFault::serviceRefuses),
              "The service refuses: [quota] Out of credit");
    EXPECT_EQ(health(), "serviceRefuses");
    EXPECT_EQ(say({State::answering}, SessionFault::serviceRefuses), "nothing");
    tell(translate::Gap{1.2});
    tell(translate::Gap{2.4});
    EXPECT_EQ(health(), "soundLeftOut");
    EXPECT_EQ(session_->health().at(SessionFault::soundLeftOut), "4") << "in all";
    world_.pass(31s);
    EXPECT_EQ(health(), "");

    world_.tellSound({{SessionFault::outputGone, ""}});
    world_.tellSound({});
    world_.pass(1s);
    EXPECT_EQ(health(), "") << "a moment without a device is no fault";
    int changes = 0;
    QObject::connect(session_.get(), &TranslateSession::healthChanged, session_.get(), [&] { ++changes; });
    world_.tellSound({{SessionFault::soundServerGone, ""}});
    world_.pass(300ms);
    EXPECT_EQ(health(), "soundServerGone");
    world_.sinks.back().lock()->onEnd();
    connection(ConnectionHealth::State::lost);
    EXPECT_EQ(health(), "connectionLost captureEnded soundServerGone");
    EXPECT_EQ(changes, 3);
    EXPECT_EQ(state(), "running");

    tell(translate::Error{"no"});
    EXPECT_EQ(state(), "error(no)");
    EXPECT_EQ(health(), "connectionLost captureEnded soundServerGone") << "the run goes on";
    world_.open = [] { return std::optional(TarnServerError::notAuthenticated()); };
    start();
    EXPECT_EQ(health(), "") << "a start that failed is no run";
    world_.open = [] { return std::nullopt; };
    start();
    EXPECT_EQ(health(), "") << "of the run before";
    EXPECT_EQ(state(), "running");
    stop();
    world_.tellSound({{SessionFault::soundServerGone, ""}});
    world_.pass(1s);
    EXPECT_EQ(health(), "");
    expectNothingLeft();
}

TEST_F(SessionPipelineTest, TakesNoMoreEventsWhileAMinuteOfVoiceWaits) {
    for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
        start(source);
        tell(translate::TranslatedAudio{std::vector<std::byte>(std::size_t{61} * 48000)});
        tell(translate::SourceText{"next", false});
        EXPECT_EQ(session_->sourceText(), "");
        world_.pass(999ms);
        EXPECT_EQ(session_->sourceText(), "");
        world_.pass(1ms);
        EXPECT_EQ(session_->sourceText(), "next");
        stop();
    }
}

TEST_F(SessionPipelineTest, ReceivedSpeechGoesToTheDubAlsoWhenTheSessionIsGone) {
    for (const auto source : {CaptureSource::system, CaptureSource::mic}) {
        session_ = world_.makeSession();
        start(source);
        const auto stream = world_.streams.back().lock();
        tell(translate::TranslatedAudio{std::vector<std::byte>(4800)});
        EXPECT_EQ(world_.dub.lock()->queuedFrames(), 2400U);
        world_.closeBarrier.isClosed = true;
        session_.reset();
        world_.settle();
        tell(translate::SourceText{"nobody", false});
        tell(translate::TranslatedAudio{std::vector<std::byte>(480)});
        EXPECT_EQ(world_.dub.lock()->queuedFrames(), 2640U);
        world_.openBarriers();
        world_.settle();
        EXPECT_EQ(world_.enginesRunning, 0);
    }
    session_ = world_.makeSession();
}

}  // namespace
}  // namespace tarn
