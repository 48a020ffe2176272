// Addresses that the desktop opens in the program.

#include <gmock/gmock.h>

#include "TarnApp/session/URLSchemeHandler.h"
#include "ViewModelFixture.h"

namespace tarn {
namespace {

using enum Keychain::Account;
using testing::ElementsAre;

class UrlSchemeTest : public test::ViewModelTest {
protected:
    struct Follower final : SignInFollower {
        void setIsLoggedIn(bool value) override { isLoggedIn = value; }
        std::optional<bool> isLoggedIn;
    };

    UrlSchemeTest() {
        make();
        handler_.credentials = credentials_;
        handler_.viewModel = model_;
        handler_.onboarding = follower_;
        handler_.bringToFront = [this] { ++activated_; };
    }

    void open(const std::string& url) {
        handler_.handle(url);
        world_.settle();
    }
    static std::string stored() {
        return Keychain::get(pat).value_or("-") + " " + Keychain::get(userEmail).value_or("-");
    }

    std::shared_ptr<Follower> follower_ = std::make_shared<Follower>();
    URLSchemeHandler handler_;
    int activated_ = 0;
};

TEST_F(UrlSchemeTest, SignsInWithTheFirstTokenOfALogin) {
    struct Case {
        std::string url;
        std::string stored;
    };
    const std::string huge(8192, 'x');
    const std::vector<Case> cases{
        {"TARN://LOGIN?token=abc", "abc -"},
        {"tarn://login?user_email=a%40b.org&token=abc", "abc a@b.org"},
        {"tarn://login?token=abc&user_email=", "abc -"},
        {"tarn://login?token=first&token=second&user_email=a&user_email=b", "first a"},
        {"tarn://login?token=a+b%2Bc&user_email=x+y@z", "a+b+c x+y@z"},
        {"tarn://login?Token=no&token=yes&other=1", "yes -"},
        {"tarn://user@login:80?token=abc#token=def", "abc -"},
        {"tarn://login?token=" + huge, huge + " -"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url.substr(0, 80));
        handler_.handle("tarn://logout");
        world_.settle();
        activated_ = 0;
        handler_.handle(c.url);
        client_->accountBarrier.isClosed = true;
        world_.settle();
        const std::string storedAtOnce = stored();
        client_->accountBarrier.open();
        world_.settle();
        EXPECT_TRUE(storedAtOnce == c.stored) << storedAtOnce.substr(0, 80);
        EXPECT_EQ(Keychain::get(userEmail), "ada@example.org") << "as the server says";
        EXPECT_TRUE(model_->isLoggedIn());
        EXPECT_EQ(follower_->isLoggedIn, true);
        EXPECT_EQ(activated_, 1);
        EXPECT_EQ(model_->account()->userId, "u1") << "checked anew";
        EXPECT_EQ(model_->toastMessage(), "Signed in as ada@example.org") << "whatever the link says";
    }
}

TEST_F(UrlSchemeTest, IgnoresWhatIsNoLoginOfOurs) {
    for (const auto& url : std::vector<std::string>{
             "tarn://login?token=a%0Ab", "tarn://login?token=a%20b", "tarn://login?token=%E4%BD%A0",
             "tarn://login?token=" + std::string(8193, 'x'), "tarn://login?token=a%00",
             "tarn://login?token=a\x7F", "tarn://login?token=\xC0\xAF",
             "tarn://login?token=" + std::string(1 << 20, 'x'), std::string("tarn://login?token=a\0b", 22),
             "tarn://login?token", "tarn://login?token=&token=second", "other://login?token=abc", "", "tarn",
             "tarns://login?token=abc", "tarn\n://login?token=abc", "tarn://[::1?token=abc"}) {
        open(url);
        SCOPED_TRACE(url.substr(0, 80));
        EXPECT_EQ(stored(), "- -");
        EXPECT_EQ(activated_, 0);
        EXPECT_EQ(follower_->isLoggedIn, std::nullopt);
    }
    EXPECT_EQ(clientsMade_, 1);
}

TEST_F(UrlSchemeTest, SignsOutActivatesAndNamesUnknownHosts) {
    open("tarn://login?token=abc&user_email=u1");
    open("tarn://Logout?token=x");
    EXPECT_EQ(stored(), "- -");
    EXPECT_FALSE(model_->isLoggedIn());
    EXPECT_EQ(follower_->isLoggedIn, false);
    EXPECT_EQ(authLost_, 1);
    open("tarn://logout");
    EXPECT_FALSE(model_->isLoggedIn()) << "nothing to delete is no failure";
    open("tarn://open");
    EXPECT_EQ(activated_, 4);
    open("tarn://settings?token=secret");
    open("tarn:login?token=secret");
    EXPECT_EQ(activated_, 4);
    EXPECT_THAT(log_.lines("[URLScheme]"),
                ElementsAre("[URLScheme] unknown host: settings", "[URLScheme] unknown host: "));
}

TEST_F(UrlSchemeTest, ATokenThatCannotBeStoredSignsOutAtTheNextCheck) {
    secrets_->isFull = true;
    account_ = [] { return ServerResult<UserAccount>(std::unexpected(TarnServerError::notAuthenticated())); };
    open("tarn://login?token=abc");
    EXPECT_FALSE(model_->isLoggedIn());
    EXPECT_EQ(model_->sessions()[0]->errorMessage(), "Session expired — please sign in again");
}

}  // namespace
}  // namespace tarn
