// The application's state over scripted surroundings: modes, sessions, what is kept, signing in and out.

#include <gmock/gmock.h>

#include <tuple>

#include "ViewModelFixture.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using enum Keychain::Account;
using test::ViewModelTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

TEST_F(ViewModelTest, StartsWithWhatWasStoredAndTheDefaultsWhereThatIsOfAnotherType) {
    auto& fresh = make();
    EXPECT_EQ(pairs(), "session.0:zh>en ");
    EXPECT_THAT(fresh.availableApps(), ElementsAre(AudioCapableApp{"org.vlc", "VLC"}));
    EXPECT_FALSE(world_.defaults->contains("mode"));

    fresh.setRate(1.5);
    fresh.setOutputGain(12.5);
    EXPECT_TRUE(fresh.keepsUp());
    fresh.setKeepsUp(false);
    fresh.setSubtitleScale(0.6);
    fresh.setMiniMode(true);
    fresh.setTier2Expanded(true);
    EXPECT_TRUE(fresh.resumesConnection() && !fresh.usesStandIn());
    fresh.setResumesConnection(false);
    fresh.setUsesStandIn(true);
    fresh.setMode(AppMode::conversation);
    fresh.addSession();
    auto& again = make();
    EXPECT_EQ(again.rate(), 1.5);
    EXPECT_EQ(again.outputGain(), 12.5) << "no range is enforced";
    EXPECT_FALSE(again.keepsUp());
    EXPECT_EQ(again.subtitleScale(), 0.6);
    EXPECT_TRUE(again.miniMode());
    EXPECT_TRUE(again.tier2Expanded());
    EXPECT_TRUE(!again.resumesConnection() && again.usesStandIn());
    EXPECT_EQ(again.mode(), AppMode::conversation);
    EXPECT_EQ(again.sessions().size(), 2U) << "two, however many there were";

    for (const char* const key : {"rate", "outputGain", "subtitleScale", "miniMode", "tier2Expanded",
                                  "keepUp", "resumeConnection", "standIn"}) {
        world_.defaults->set(key, "text");
    }
    world_.defaults->set("mode", "Solo");
    auto& odd = make();
    EXPECT_EQ(odd.rate() + odd.outputGain() + odd.subtitleScale(), 3);
    EXPECT_TRUE(odd.keepsUp());
    EXPECT_FALSE(odd.miniMode() || odd.tier2Expanded());
    EXPECT_TRUE(odd.resumesConnection() && !odd.usesStandIn());
    EXPECT_EQ(odd.mode(), AppMode::solo);
}

TEST_F(ViewModelTest, ListsMicrophonesOnTheWorkers) {
    world_.workersRest = true;  // as while the audio server hangs
    auto& model = make();
    EXPECT_THAT(model.availableMics(), IsEmpty());
    world_.workersRest = false;
    world_.settle();
    EXPECT_EQ(model.availableMics().size(), 1U);
    model.setAvailableMics({});
    model.refreshMics();
    EXPECT_THAT(model.availableMics(), IsEmpty());
    world_.settle();
    EXPECT_EQ(model.availableMics().size(), 1U);
}

TEST_F(ViewModelTest, KeepsTheSessionsInStepWithTheMode) {
    auto& model = make();
    model.addSession();
    EXPECT_EQ(model.sessions().size(), 1U) << "one only, in solo mode";
    model.setMode(AppMode::conversation);
    EXPECT_EQ(pairs(), "session.0:zh>en session.1:en>zh ");
    EXPECT_EQ(world_.defaults->string("session.1.sourceLang"), "en");
    EXPECT_EQ(world_.defaults->string("mode"), "conversation");
    for (int i = 0; i < 4; ++i) {
        model.addSession();
    }
    model.setMode(AppMode::conversation);
    EXPECT_EQ(model.sessions().size(), 4U);
    const auto first = model.sessions().front();
    model.removeSession(first);
    model.removeSession(world_.makeSession());
    EXPECT_EQ(model.sessions().size(), 4U) << "neither the first nor a stranger";
    model.sessions()[1]->setSourceLang("fr");
    model.setMode(AppMode::solo);
    EXPECT_THAT(model.sessions(), ElementsAre(first));
    model.setMode(AppMode::conversation);
    EXPECT_EQ(pairs(), "session.0:zh>en session.1:fr>zh ") << "configured once, loaded again";
    model.removeSession(model.sessions().back());
    EXPECT_EQ(model.mode(), AppMode::solo);
    EXPECT_EQ(world_.defaults->string("mode"), "solo");
    EXPECT_EQ(model.sessions().size(), 1U);

    world_.defaults->remove("session.1.sourceLang");
    first->setSourceLang("");
    model.setMode(AppMode::conversation);
    EXPECT_EQ(pairs(), "session.0:>en session.1:en> ");
}

TEST_F(ViewModelTest, AColumnAddedAfterAMiddleOneWasRemovedHasSettingsOfItsOwn) {
    auto& model = make();
    model.setMode(AppMode::conversation);
    model.addSession();
    model.sessions()[2]->setTargetLang("de");
    model.removeSession(model.sessions()[1]);
    model.addSession();
    EXPECT_EQ(pairs(), "session.0:zh>en session.2:en>de session.1:en>zh ");
}

TEST_F(ViewModelTest, StopsTheSessionsThatItDrops) {
    auto& model = makeSignedIn();
    model.setMode(AppMode::conversation);
    model.addSession();
    model.startAll();
    world_.settle();
    EXPECT_EQ(states(), "running running running ");
    EXPECT_EQ(world_.streamsOpen, 3);
    model.removeSession(model.sessions()[1]);
    world_.settle();
    EXPECT_EQ(world_.streamsOpen, 2);
    EXPECT_TRUE(model.anyRunning());
    model.setMode(AppMode::solo);
    world_.settle();
    EXPECT_EQ(world_.streamsOpen, 1);
    model.stopAll();
    world_.settle();
    EXPECT_EQ(states(), "idle ");
    EXPECT_FALSE(model.anyRunning());
    EXPECT_EQ(world_.streamsOpen, 0);
    EXPECT_EQ(world_.capturesRunning, 0);
    EXPECT_THAT(world_.trail, Not(testing::Contains("stream dropped")));
}

TEST_F(ViewModelTest, IsRunningFromTheFirstSessionThatConnectsToTheLastThatEnds) {
    auto& model = makeSignedIn();
    model.setMode(AppMode::conversation);
    std::vector<bool> changes;
    QObject::connect(&model, &TranslateViewModel::anyRunningChanged, &model,
                     [&] { changes.push_back(model.anyRunning()); });
    model.sessions()[1]->start(1, 1, TranslateSession::Backend::server(client_));
    EXPECT_TRUE(model.anyRunning());
    world_.settle();
    model.startAll();
    world_.settle();
    model.sessions()[0]->stop();
    world_.settle();
    EXPECT_TRUE(model.anyRunning());
    world_.streams.front().lock()->events().push(translate::Error{"broken"});
    world_.settle();
    EXPECT_FALSE(model.anyRunning()) << "an error is not running";
    EXPECT_TRUE(model.canStop()) << "but goes on";
    model.stopAll();
    world_.settle();
    EXPECT_FALSE(model.canStop());
    EXPECT_THAT(changes, ElementsAre(true, false));
}

TEST_F(ViewModelTest, StartsNothingWhileSignedOut) {
    auto& model = make();
    model.setMode(AppMode::conversation);
    model.startAll();
    world_.settle();
    EXPECT_EQ(states(), "error(not signed in) idle ");
    EXPECT_EQ(model.sessions()[0]->errorMessage(), "Sign in to start translating");
    EXPECT_TRUE(model.sessions()[1]->errorMessage().isNull());
    EXPECT_THAT(world_.trail, IsEmpty());
    model.sessions()[0]->setState(ConnectionState::running());
    model.reconnect(model.sessions()[0]);
    world_.pass(1s);
    EXPECT_EQ(states(), "running idle ") << "nor reconnected";
}

TEST_F(ViewModelTest, ReconnectsASessionThatRuns) {
    auto& model = makeSignedIn();
    model.startAll();
    world_.settle();
    model.setRate(2);
    model.sessions()[0]->setTargetLang("de");
    model.reconnect(model.sessions()[0]);
    world_.settle();
    EXPECT_EQ(states(), "idle ");
    world_.pass(300ms);
    EXPECT_EQ(states(), "running ");
    EXPECT_THAT(world_.trail, testing::Contains("open zh>de voice - none 2000"));
    EXPECT_EQ(model.sessions()[0]->player()->rate(), 2.0F);
    EXPECT_TRUE(model.sessions()[0]->player()->dub().keepsUp());
    model.setKeepsUp(false);
    EXPECT_FALSE(model.sessions()[0]->player()->dub().keepsUp());
}

TEST_F(ViewModelTest, ChecksTheAccountAtTheStartAndAfterEverySignIn) {
    struct Case {
        std::string name;
        std::function<ServerResult<UserAccount>()> answer;
        bool staysSignedIn;
        bool isLogged;
    };
    const auto failing = [](TarnServerError error) {
        return [error] { return ServerResult<UserAccount>(std::unexpected(error)); };
    };
    const std::vector<Case> cases{
        {"good", [] { return UserAccount{"u1", "ada@example.org"}; }, true, false},
        {"401", failing(TarnServerError::http(401, "no")), false, false},
        {"no token any more", failing(TarnServerError::notAuthenticated()), false, false},
        {"500", failing(TarnServerError::http(500, "secret body")), true, true},
        {"no answer", failing(TarnServerError::transport(Error{ErrorKind::timeout, "late"})), true, true},
    };
    for (const Case& c : cases) {
        for (const bool atStart : {true, false}) {
            SCOPED_TRACE(c.name + (atStart ? ", at the start" : ", after a sign-in"));
            Keychain::remove(pat);
            account_ = c.answer;
            authLost_ = 0;
            const auto logged = log_.lines("[vm] account check failed: ").size();
            if (atStart) {
                makeSignedIn();
            } else {
                make();
                Keychain::set("token", pat);
                model_->handleLoginSucceeded();
                EXPECT_TRUE(model_->isLoggedIn());
                world_.settle();
            }
            EXPECT_EQ(model_->isLoggedIn(), c.staysSignedIn);
            EXPECT_EQ(hasCredentials(), c.staysSignedIn);
            EXPECT_EQ(authLost_, c.staysSignedIn ? 0 : 1);
            EXPECT_EQ(model_->account().has_value(), c.name == "good");
            EXPECT_EQ(model_->sessions()[0]->errorMessage(),
                      c.staysSignedIn ? "" : "Session expired — please sign in again");
            EXPECT_EQ(test::stateText(model_->sessions()[0]->state()), "idle");
            EXPECT_EQ(log_.lines("[vm] account check failed: ").size() - logged, c.isLogged ? 1U : 0U);
        }
    }
    for (const auto& line : log_.lines()) {
        EXPECT_THAT(line, Not(testing::HasSubstr("secret"))) << "no answer's body in the log";
    }
}

TEST_F(ViewModelTest, TheFirstRunTakesLanguagesThatTheServerHasAndAChoiceStays) {
    account_ = [] {
        return UserAccount{"u1", "ada@example.org", ServerLanguages{{"en"}, {{"en", {"es", "fr"}}}, {}}};
    };
    auto& model = makeSignedIn();
    EXPECT_EQ(pairs(), "session.0:en>fr ");
    EXPECT_FALSE(world_.defaults->contains("session.0.targetLang")) << "no choice of the user's";
    EXPECT_EQ(model.heardLanguages(), QStringList{"en"});
    EXPECT_EQ(model.targetLanguages("en"), (QStringList{"es", "fr"}));
    model.sessions().front()->setTargetLang("ja");
    makeSignedIn();
    EXPECT_EQ(pairs(), "session.0:zh>ja ") << "nothing the server has fits the choice";
    model_->sessions().front()->setSourceLang("ko");
    makeSignedIn();
    EXPECT_EQ(pairs(), "session.0:ko>ja ");
}

TEST_F(ViewModelTest, TakesTheServersLanguagesOnlyWhenNoRunUsesOthers) {
    auto& model = makeSignedIn();
    account_ = [] {
        return UserAccount{"u1", "ada@example.org", ServerLanguages{{"en"}, {{"en", {"fr"}}}, {}}};
    };
    model.handleLoginSucceeded();
    model.startAll();
    world_.settle();
    ASSERT_TRUE(model.heardLanguages().contains("en"));
    EXPECT_EQ(pairs(), "session.0:zh>en ");
    model.stopAll();
    world_.settle();
    EXPECT_EQ(pairs(), "session.0:en>fr ");
}

TEST_F(ViewModelTest, ForgetsAnAnswerAboutAUserWhoIsGone) {
    auto& model = make();
    Keychain::set("old", pat);
    model.handleLoginSucceeded();
    const auto oldClient = client_;
    oldClient->accountBarrier.isClosed = true;
    world_.settle();
    model.handleLoggedOut();
    oldClient->accountBarrier.open();
    world_.settle();
    EXPECT_EQ(model.account(), std::nullopt);

    model.handleLoginSucceeded();
    const auto refusing = client_;
    refusing->accountBarrier.isClosed = true;
    refusing->account = [] {
        return ServerResult<UserAccount>(std::unexpected(TarnServerError::http(401, "")));
    };
    world_.settle();
    Keychain::set("new", pat);
    model.handleLoginSucceeded();
    refusing->accountBarrier.open();
    world_.settle();
    EXPECT_TRUE(model.isLoggedIn());
    EXPECT_EQ(Keychain::get(pat), "new");
    EXPECT_EQ(model.account()->userId, "u1");
}

TEST_F(ViewModelTest, SignsOutWhateverTheServerSays) {
    for (const bool reached : {true, false}) {
        auto& model = makeSignedIn();
        const auto client = client_;
        authLost_ = 0;
        logoutIsHeld_ = !reached;
        model.signOut();
        EXPECT_FALSE(model.isLoggedIn()) << "at once";
        world_.settle();
        EXPECT_FALSE(hasCredentials()) << "before the server has answered";
        EXPECT_EQ(Keychain::get(server), std::nullopt);
        EXPECT_EQ(model.account(), std::nullopt);
        EXPECT_EQ(authLost_, 1);
        EXPECT_NE(model.serverClient(), client);
        world_.pass(4999ms);
        EXPECT_TRUE(model.toastMessage().isNull());
        world_.pass(1ms);
        EXPECT_EQ(model.toastMessage(), reached ? "" : "Signed out here. The server could not be told.");
        logoutIsHeld_ = false;
    }
    EXPECT_EQ(tokensEnded_, (std::vector<std::string>{"token", "token"}));
    auto& model = makeSignedIn();
    logoutIsHeld_ = true;
    model.signOut();
    world_.settle();
    credentials_->signIn("newer", std::nullopt);
    model.handleLoginSucceeded();
    world_.pass(6s);
    EXPECT_EQ(Keychain::get(pat), "newer") << "a slow sign-out leaves the next user alone";
    EXPECT_TRUE(model.isLoggedIn());
}

TEST_F(ViewModelTest, ASignOutThatTheKeyringDoesNotTakeIsToldOf) {
    auto& model = makeSignedIn();
    secrets_->fault = SecretFault::timedOut;
    model.signOut();
    world_.settle();
    EXPECT_FALSE(model.isLoggedIn());
    EXPECT_EQ(model.toastMessage(),
              "Signed out, but the keyring did not delete the sign-in: it is back at the next start");
    secrets_->fault.reset();
    model.startAll();
    world_.settle();
    EXPECT_EQ(states(), "error(not signed in) ") << "it does not come back from the keyring";
}

TEST_F(ViewModelTest, ASourceThatRunsAtTheSignOutEndsWithoutAComplaint) {
    auto& model = makeSignedIn();
    model.startAll();
    world_.settle();
    model.signOut();
    world_.streams.front().lock()->events().push(translate::Unauthorized{});
    world_.settle();
    EXPECT_EQ(states(), "idle ");
    EXPECT_TRUE(model.sessions()[0]->errorMessage().isNull());
    EXPECT_EQ(world_.streamsOpen, 0);
}

TEST_F(ViewModelTest, ATokenThatHasVanishedFromTheKeyringSignsOut) {
    auto& model = makeSignedIn();
    Keychain::remove(pat);
    world_.settle();
    EXPECT_TRUE(model.isLoggedIn());
    std::ignore = test::runTask(world_.main, credentials_->token());
    world_.settle();
    EXPECT_FALSE(model.isLoggedIn());
    EXPECT_EQ(model.sessions()[0]->errorMessage(), "Session expired — please sign in again");
}

TEST_F(ViewModelTest, ARefusedTokenInARunSignsOutAndLeavesOtherSessionsRunning) {
    auto& model = makeSignedIn();
    model.setMode(AppMode::conversation);
    model.startAll();
    world_.settle();
    world_.streams.front().lock()->events().push(translate::Unauthorized{});
    world_.settle();
    EXPECT_EQ(states(), "error(session expired) running ");
    EXPECT_EQ(world_.capturesRunning, 1) << "the refused one listens no more";
    EXPECT_FALSE(model.isLoggedIn());
    EXPECT_FALSE(hasCredentials());
    EXPECT_EQ(authLost_, 1);
}

TEST_F(ViewModelTest, RaisesTheScreenNoticeAndKeepsTheAppsOfAFailedListing) {
    world_.screenAllowed = false;
    auto& model = makeSignedIn();
    EXPECT_THAT(model.availableApps(), IsEmpty()) << "not asked without the permission";
    model.startAll();
    EXPECT_TRUE(model.screenRecNeededEvent());
    EXPECT_EQ(states(), "idle ");
    model.setScreenRecNeededEvent(false);
    model.refreshApps();
    world_.settle();
    EXPECT_EQ(model.availableApps().size(), 1U);
    apps_ = failure(ErrorKind::unavailable, "no audio server");
    model.refreshApps();
    world_.settle();
    EXPECT_EQ(model.availableApps().size(), 1U);
    EXPECT_THAT(log_.lines("[vm]"), ElementsAre("[vm] refreshApps failed: no audio server"));
    world_.screenAllowed = true;
    EXPECT_EQ(make().noAppsText(), "no audio server");
    EXPECT_THAT(log_.lines("[vm] initial"), ElementsAre("[vm] initial refreshApps failed: no audio server"));
}

TEST_F(ViewModelTest, ShowsEachNoticeForFourSeconds) {
    auto& model = make();
    model.showToast("one");
    world_.settle();
    world_.pass(1s);
    model.showToast("two");
    world_.settle();
    world_.pass(3999ms);
    EXPECT_EQ(model.toastMessage(), "two");
    world_.pass(1ms);
    EXPECT_TRUE(model.toastMessage().isNull());

    model.showToast("three");
    world_.settle();
    world_.clock->advance(4s);  // over, and not yet seen to be
    world_.main.restart();
    world_.main.poll_one();
    model.showToast("four");
    world_.settle();
    EXPECT_EQ(model.toastMessage(), "four");
    model.showTransientStatus("status");
    EXPECT_EQ(model.sessions()[0]->errorMessage(), "status");
    world_.pass(1min);
    EXPECT_EQ(model.sessions()[0]->errorMessage(), "status");
    model_.reset();
    world_.pass(1min);
}

TEST_F(ViewModelTest, OpensNoSignInPageOfAnotherUser) {
    mayOpenSignInPage_ = failure(ErrorKind::unavailable, "it belongs to eve");
    auto& model = make();
    model.startSignIn();
    EXPECT_TRUE(world_.openedUrls.empty());
    EXPECT_EQ(model.toastMessage(), "it belongs to eve");
}

TEST_F(ViewModelTest, EndsItsTasksQuietlyWhenItGoes) {
    auto& model = makeSignedIn();
    client_->accountBarrier.isClosed = logoutIsHeld_ = true;
    const auto client = client_;
    model.handleLoginSucceeded();
    model.refreshApps();
    model.signOut();
    const auto leaving = client_;
    model.startAll();
    model_.reset();
    world_.settle();
    client->accountBarrier.open();
    leaving->logoutBarrier.open();
    world_.settle();
    EXPECT_EQ(world_.streamsOpen, 0);
    EXPECT_EQ(world_.enginesRunning, 0);
}

}  // namespace
}  // namespace tarn
