// What becomes of the application's state in front of account servers that refuse, fail, talk nonsense or
// never answer: real HTTP on this machine, a clock that the test drives.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MemorySecretStore.h"
#include "SessionWorld.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "support/Blackhole.h"
#include "support/LogCapture.h"
#include "support/TestService.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

class AccountFaultsTest : public testing::Test {
protected:
    AccountFaultsTest() { Keychain::useStore(secrets_); }
    ~AccountFaultsTest() override {
        model_.reset();
        Keychain::useStore(nullptr);
    }

    void make(std::uint16_t port) {
        if (!secrets_->fault) {
            Keychain::set("token", Keychain::Account::pat);
        }
        ViewModelServices services;
        services.session = world_.services();
        services.defaults = world_.defaults;
        services.credentials = Credentials::make(services.session.main, services.session.main, "server");
        services.makeServerClient = [this, port](const PatProvider& pat) {
            return std::make_shared<RealTarnServerClient>(
                Url::parse("http://127.0.0.1:" + std::to_string(port) + "/tarn").value(), pat,
                HttpSession::make(network_), network_);
        };
        services.inputs = [] { return std::vector<AudioInputDevice>(); };
        services.availableApps = noApps;
        model_ = TranslateViewModel::make(std::move(services));
    }
    static Task<Result<std::vector<AudioCapableApp>>> noApps() { co_return std::vector<AudioCapableApp>(); }

    void until(const std::string& what, const std::function<bool()>& isSo) { world_.until(what, isSo); }
    TranslateSession& session() { return *model_->sessions().front(); }
    void start() {
        model_->startAll();
        until("the start is decided", [this] { return !model_->anyRunning(); });
    }

    test::LogCapture log_;
    std::shared_ptr<test::MemorySecretStore> secrets_ = std::make_shared<test::MemorySecretStore>();
    test::SessionWorld world_;
    NetworkContext network_{world_.main.get_executor(), world_.clock, {}, TlsTrust::system()};
    std::shared_ptr<TranslateViewModel> model_;
};

TEST_F(AccountFaultsTest, ARefusedTokenSignsOut) {
    test::TestService server(network_, 401);
    make(server.port());
    until("the check is answered", [this] { return model_->isSignedOut(); });
    EXPECT_EQ(session().errorMessage(), "Session expired — please sign in again");
    EXPECT_EQ(session().state(), ConnectionState::idle());

    make(server.port());
    start();  // asks for a stream before the check is answered
    until("the refusal is seen", [this] { return model_->isSignedOut(); });
    EXPECT_EQ(Keychain::get(Keychain::Account::pat), std::nullopt);
    // Refused at the stream's door, or not even sent, if the check's answer came first.
    EXPECT_EQ(session().state().reason(), "Session expired — please sign in again");
}

TEST_F(AccountFaultsTest, OtherAnswersAndSilenceLeaveTheUserSignedInAndAStartShowsAnError) {
    const test::TestService failing(network_, 500);
    const test::TestService rubbish(network_, 200);
    const test::Blackhole silent("127.0.0.1");
    std::size_t starts = 0;
    for (const auto& [port, log, shown] :
         {std::tuple{failing.port(), "the server answered with status 500", "status 500"},
          {rubbish.port(), "the server's answer makes no sense: not JSON", "status 200"},
          {silent.port(), "", "No connection with 127.0.0.1:"}}) {
        SCOPED_TRACE(log);
        const auto logged = log_.lines("[vm] account check failed: " + std::string(log)).size();
        make(port);
        if (*log == '\0') {
            until("it is asked", [this] { return world_.clock->pendingCalls() > 0; });
            world_.clock->advance(61s);
        }
        until("the check has failed",
              [&] { return log_.lines("[vm] account check failed: " + std::string(log)).size() > logged; });
        EXPECT_TRUE(model_->isLoggedIn());
        EXPECT_TRUE(session().errorMessage().isNull());
        model_->startAll();
        if (*log == '\0') {
            until("it is asked", [this] { return world_.clock->pendingCalls() > 0; });
            EXPECT_EQ(session().state(), ConnectionState::connecting());
            world_.clock->advance(61s);
        }
        until("the start has failed", [this] { return !model_->anyRunning(); });
        EXPECT_THAT(session().state().reason(), testing::HasSubstr(shown));
        EXPECT_EQ(session().errorMessage().toStdString(), session().state().reason());
        EXPECT_EQ(log_.lines("[vm] session.0 does not start: ").size(), ++starts) << "one line";
        EXPECT_TRUE(model_->isLoggedIn());
    }
}

TEST_F(AccountFaultsTest, AKeyringThatCannotBeReadTakesNothingAwayAndAStartCanBeRepeated) {
    test::TestService server(network_);
    for (const auto fault :
         {SecretFault::locked, SecretFault::timedOut, SecretFault::unavailable, SecretFault::refused}) {
        for (const bool isKnown : {false, true}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(fault)) +
                         (isKnown ? ", in a run" : ", at the start"));
            secrets_->fault.reset();
            if (!isKnown) {
                Keychain::set("token", Keychain::Account::pat);
                secrets_->fault = fault;
            }
            make(server.port());
            world_.settle();
            secrets_->fault = fault;
            EXPECT_FALSE(model_->isSignedOut());
            model_->startAll();
            if (isKnown) {  // from memory
                until("it runs", [this] { return session().state() == ConnectionState::running(); });
            } else {
                until("the start is decided", [this] { return !model_->anyRunning(); });
                EXPECT_EQ(session().state().kind(), ConnectionState::Case::error);
                EXPECT_NE(session().errorMessage(), "Sign in to start translating");
            }
            EXPECT_FALSE(model_->isSignedOut());
            secrets_->fault.reset();
            EXPECT_EQ(Keychain::get(Keychain::Account::pat), "token");
            if (!isKnown) {
                model_->startAll();
                until("it runs", [this] { return session().state() == ConnectionState::running(); });
            }
            model_->stopAll();
            until("it has stopped", [this] { return session().state() == ConnectionState::idle(); });
        }
    }
}

TEST_F(AccountFaultsTest, AStartBeforeTheKeyringHasToldFindsThatNobodyIsSignedIn) {
    test::TestService server(network_);
    make(server.port());
    Keychain::remove(Keychain::Account::pat);
    model_->startAll();
    EXPECT_FALSE(model_->isSignedOut());
    until("the start is decided", [this] { return !model_->anyRunning(); });
    EXPECT_TRUE(model_->isSignedOut());
    EXPECT_EQ(session().state(), ConnectionState::error("not signed in"));
    EXPECT_EQ(session().errorMessage(), "Sign in to start translating");
}

}  // namespace
}  // namespace tarn
