// What a session says of a start that fails, and of a run that goes on with something wrong.

#include "PipelineFixture.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* privacySettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";

using SessionFaultsTest = test::SessionPipelineTest;

TEST_F(SessionFaultsTest, SaysWhyTheMicrophoneMayNotBeUsedAndOpensTheSettingsWhereThatHelps) {
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

TEST_F(SessionFaultsTest, AsksForTheScreenAndStaysIdleWithoutIt) {
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

TEST_F(SessionFaultsTest, SaysWhatKeepsItFromTheSoundInTheLanguageOfTheWindow) {
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

TEST_F(SessionFaultsTest, ShowsWhyAStartFailedReleasesItAllAndStartsAgain) {
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
    const std::vector<Case> cases{
        {"player", CaptureSource::system, engineFails, "no audio server"},
        {"capture", CaptureSource::application,
         [](auto& world) { world.capture = [] { return Error{ErrorKind::unavailable, "no display"}; }; },
         "no display"},
        {"microphone", CaptureSource::mic, engineFails,
         MicError{MicError::EngineFailed{"no audio server"}}.errorDescription()},
        {"no microphone", CaptureSource::mic, [](auto& world) { world.microphoneChannels = 0; },
         MicError{MicError::InvalidInputFormat{16000, 0}}.errorDescription()},
        {"401", CaptureSource::system, opening(TarnServerError::http(401, "no")), expired, true},
        {"upgrade refused", CaptureSource::mic, opening(refused), expired, true},
        {"500", CaptureSource::mic, opening(TarnServerError::http(500, "no")),
         "The server answered with status 500: no"},
    };
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

TEST_F(SessionFaultsTest, SaysWhatIsWrongWithARunThatGoesOn) {
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
    EXPECT_EQ(say({State::resuming, "gone"}, SessionFault::connectionResuming),
              "Connection lost: trying again");
    EXPECT_EQ(say({State::catchingUp, "", false, 12.4}, SessionFault::catchingUp),
              "Catching up: 12 s behind");
    EXPECT_EQ(say({State::answering, "", false, 0, true}, SessionFault::standIn),
              "Translated on this machine");
    EXPECT_EQ(health(), "standIn");
    EXPECT_EQ(say({State::answering}, SessionFault::standIn), "nothing");
    tell(translate::Gap{1.2});
    tell(translate::Gap{2.4});
    EXPECT_EQ(health(), "soundLeftOut");
    EXPECT_EQ(session_->health().at(SessionFault::soundLeftOut), "4") << "in all";
    world_.pass(31s);
    EXPECT_EQ(health(), "");

    world_.defaults->set("app.language", "en");
    std::vector<double> missed;
    QObject::connect(session_.get(), &TranslateSession::soundMissed, session_.get(),
                     [&](double seconds) { missed.push_back(seconds); });
    tell(translate::TranslatedText{"half a sen", false});
    tell(translate::Gap{50, true});
    tell(translate::Gap{30, true});
    EXPECT_EQ(session_->translationText(), "[1 min 20 s not translated]");
    EXPECT_EQ(session_->sourceText(), "[…]");
    EXPECT_THAT(missed, ElementsAre(50, 30));
    EXPECT_EQ(health(), "");
    tell(translate::TranslatedText{"a sentence", true});
    EXPECT_EQ(session_->translationText(), "a sentence");
    tell(translate::Gap{8, true});
    EXPECT_EQ(session_->translationText(), "[8 s not translated]") << "only what has come since";

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

}  // namespace
}  // namespace tarn
