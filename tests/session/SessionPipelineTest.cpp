// How a run comes up, goes on and ends, with everything around it played by the test.

#include "PipelineFixture.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using test::SessionPipelineTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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
    EXPECT_EQ(world_.microphoneDevice, 2U);
    EXPECT_THAT(world_.microphone->calls, Not(HasSubstr("enable")));
    stop();
    world_.microphoneDevice.reset();
    session_->setMicDeviceUID("");
    session_->setVoiceProcessing(true);
    start();
    EXPECT_FALSE(world_.microphoneDevice);
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

TEST_F(SessionPipelineTest, AStopWaitsForTheTextsOfWhatWasSaid) {
    struct End {
        const char* name;
        std::function<void()> happen;
        const char* text;
        const char* state;
    };
    const std::vector<End> ends{
        {"the text", [&] { tell(translate::TranslatedText{"Hola.", true}); }, "Hola.", "idle"},
        {"the limit", [&] { world_.pass(1ms); }, "Hol", "idle"},
        {"another stop", [&] { stop(); }, "Hol", "idle"},
        {"a start", [&] { start(); }, "", "running"}};
    for (const End& end : ends) {
        SCOPED_TRACE(end.name);
        start(CaptureSource::system);
        tell(translate::TranslatedText{"Hol", false});
        const auto onPCM = session_->sink()->onPCM;
        world_.trail.clear();
        world_.sent.clear();
        stop();
        world_.pass(1499ms);
        EXPECT_EQ(state(), "stopping");
        EXPECT_THAT(world_.trail, ElementsAre("capture stop"));
        EXPECT_EQ(world_.sent, std::vector<std::byte>(std::size_t{2500} * 32))
            << "silence ends the utterance";
        auto buffer = PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 4800).value();
        buffer.setFrameLength(4800);
        onPCM(buffer);
        EXPECT_EQ(world_.sent.size(), std::size_t{2500} * 32) << "nothing is heard any more";
        end.happen();
        EXPECT_EQ(state(), end.state);
        EXPECT_EQ(session_->translationText(), end.text);
        EXPECT_EQ(world_.trail[1], "close");
        stop();
    }
    start(CaptureSource::system);
    tell(translate::TranslatedText{"Hola.", true});
    stop();
    EXPECT_EQ(state(), "idle") << "nothing is to come";
    expectNothingLeft();
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

TEST_F(SessionPipelineTest, TellsWhatVoiceIsSkippedAndHoldsNoTextBackForIt) {
    using Kind = translate::Progress::Kind;
    const TarnTranslateEvent voice =
        translate::TranslatedAudio{std::vector<std::byte>(std::size_t{20} * 48000)};
    const TarnTranslateEvent done = translate::Progress{Kind::voiceDone};
    const TarnTranslateEvent begun = translate::Progress{Kind::responseBegun};
    const TarnTranslateEvent text = translate::TranslatedText{"a", false};
    const TarnTranslateEvent whole = translate::TranslatedText{"ab", true};
    struct Case {
        const char* service;
        std::vector<TarnTranslateEvent> utterance;
        int skipped;  ///< seconds
    };
    const std::vector<Case> cases{
        {"tells the voice's end", {begun, text, voice, whole, done}, 60},
        {"and has several texts for one voice", {text, whole, text, voice, done}, 60},
        {"tells responses", {begun, text, whole, voice}, 60},
        {"tells texts", {text, voice, whole}, 60},
        {"tells texts early", {text, whole, voice}, 60},
        {"tells final texts only, late", {voice, whole}, 60},
        {"tells nothing", {voice}, 0}};
    double skipped = 0;
    QObject::connect(session_.get(), &TranslateSession::dubSkipped, session_.get(),
                     [&](double seconds) { skipped += seconds; });
    for (const Case& c : cases) {
        start(c.utterance.size() > 3 ? CaptureSource::mic : CaptureSource::system);
        auto& dub = session_->player() ? session_->player()->dub() : session_->micSession()->dub();
        dub.setKeepsUp(true);
        skipped = 0;
        for (int utterance = 0; utterance < 4; ++utterance) {
            for (const TarnTranslateEvent& event : c.utterance) {
                tell(event);
            }
            tell(translate::SourceText{std::to_string(utterance), false});
        }
        EXPECT_EQ(skipped, c.skipped) << c.service;
        EXPECT_EQ(session_->sourceText(), c.skipped > 0 ? "3" : "2") << c.service;
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
