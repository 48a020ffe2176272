#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MemorySecretStore.h"
#include "SessionWorld.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "support/LogCapture.h"

namespace tarn::test {

/// The application's state over scripted surroundings, made anew by each `make`.
class ViewModelTest : public testing::Test {
protected:
    ViewModelTest() { Keychain::useStore(secrets_); }
    ~ViewModelTest() override {
        model_.reset();
        world_.openBarriers();
        world_.settle();
        Keychain::useStore(nullptr);
    }

    TranslateViewModel& make() {
        ViewModelServices services;
        services.session = world_.services();
        services.defaults = world_.defaults;
        services.credentials = credentials_ =
            Credentials::make(services.session.main, services.session.main, server_);
        services.makeServerClient = [this](const PatProvider& pat) {
            ++clientsMade_;
            client_ = std::make_shared<ScriptedClient>(world_);
            client_->account = account_;
            client_->logoutBarrier.isClosed = logoutIsHeld_;
            client_->pat = pat;
            client_->tokensEnded = &tokensEnded_;
            return client_;
        };
        services.inputs = [] { return std::vector<AudioInputDevice>{{"mic-1", "Microphone", 1}}; };
        services.availableApps = [this] { return listApps(*this); };
        services.preferredLanguages = [] { return std::vector<std::string>{"fr_FR"}; };
        services.webBase = Url::parse("https://tarn.example/site").value();
        services.mayOpenSignInPage = [this] { return mayOpenSignInPage_; };
        model_ = TranslateViewModel::make(std::move(services));
        model_->onAuthLost = [this] { ++authLost_; };
        world_.settle();
        return *model_;
    }
    TranslateViewModel& makeSignedIn() {
        Keychain::set("token", Keychain::Account::pat);
        Keychain::set("ada@example.org", Keychain::Account::userEmail);
        return make();
    }

    static Task<Result<std::vector<AudioCapableApp>>> listApps(ViewModelTest& test) { co_return test.apps_; }

    std::string states() const {
        std::string all;
        for (const auto& session : model_->sessions()) {
            all += stateText(session->state()) + " ";
        }
        return all;
    }
    std::string pairs() const {
        std::string all;
        for (const auto& session : model_->sessions()) {
            all += session->storageNamespace() + ":" + session->sourceLang().toStdString() + ">" +
                   session->targetLang().toStdString() + " ";
        }
        return all;
    }
    static bool hasCredentials() {
        return Keychain::get(Keychain::Account::pat) || Keychain::get(Keychain::Account::userEmail);
    }

    LogCapture log_;
    std::shared_ptr<MemorySecretStore> secrets_ = std::make_shared<MemorySecretStore>();
    SessionWorld world_;
    std::function<ServerResult<UserAccount>()> account_ = [] { return UserAccount{"u1", "ada@example.org"}; };
    Result<std::vector<AudioCapableApp>> apps_ = std::vector<AudioCapableApp>{{"org.vlc", "VLC"}};
    std::shared_ptr<ScriptedClient> client_;
    int clientsMade_ = 0;
    Result<void> mayOpenSignInPage_;
    bool logoutIsHeld_ = false;
    std::vector<std::string> tokensEnded_;
    int authLost_ = 0;
    std::string server_ = "https://tarn.example";
    std::shared_ptr<Credentials> credentials_;
    std::shared_ptr<TranslateViewModel> model_;
};

}  // namespace tarn::test
