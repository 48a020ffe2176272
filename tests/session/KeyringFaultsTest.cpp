// What becomes of the sign-in where the keyring cannot be read, in front of a real HTTP server on this
// machine.

#include <gtest/gtest.h>

#include "MemorySecretStore.h"
#include "SessionWorld.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "support/TestService.h"

namespace tarn {
namespace {

class KeyringFaultsTest : public testing::Test {
protected:
    KeyringFaultsTest() { Keychain::useStore(secrets_); }
    ~KeyringFaultsTest() override {
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

    std::shared_ptr<test::MemorySecretStore> secrets_ = std::make_shared<test::MemorySecretStore>();
    test::SessionWorld world_;
    NetworkContext network_{world_.main.get_executor(), world_.clock, {}, TlsTrust::system()};
    std::shared_ptr<TranslateViewModel> model_;
};

TEST_F(KeyringFaultsTest, AKeyringThatCannotBeReadTakesNothingAwayAndAStartCanBeRepeated) {
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

TEST_F(KeyringFaultsTest, AStartBeforeTheKeyringHasToldFindsThatNobodyIsSignedIn) {
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
