// The token's road over what a keychain may hold and how it may fail.

#include "TarnApp/server/Credentials.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <map>
#include <vector>

#include "TarnApp/server/Keychain.h"
#include "TarnPlatform/secrets/FileSecretStore.h"
#include "TarnPlatform/secrets/MemorySecretStore.h"
#include "TarnPlatform/secrets/SecretServiceStore.h"
#include "support/LogCapture.h"
#include "support/Program.h"
#include "support/RunTask.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using enum Keychain::Account;
using test::PrivateKeyring;
using Mode = PrivateKeyring::Mode;

constexpr const char* here = "https://api.example:8443";
constexpr const char* elsewhere = "http://127.0.0.1:8787";

class CredentialsTest : public testing::Test {
protected:
    ~CredentialsTest() override { Keychain::useStore(nullptr); }

    std::shared_ptr<Credentials> make(const char* server, bool isConfigured = true) {
        return Credentials::make(context_.get_executor(), context_.get_executor(), server, isConfigured);
    }
    template <typename T>
    T run(Task<T> task) {
        return test::runTask(context_, std::move(task));
    }
    /// The token, "absent", or the fault's number.
    std::string outcome(const std::shared_ptr<Credentials>& credentials) {
        const TokenResult token = run(credentials->token());
        return token ? token->value_or("absent")
                     : "fault " + std::to_string(static_cast<int>(token.error().fault));
    }
    static std::string stored(Keychain::Account account) { return Keychain::get(account).value_or("-"); }

    test::LogCapture log_;
    asio::io_context context_{1};
};

TEST_F(CredentialsTest, TakesOnlyATokenOfItsServer) {
    struct Case {
        const char* name;
        std::vector<std::pair<Keychain::Account, const char*>> items;
        bool isConfigured;
        const char* token;
        const char* patAfter;
        const char* serverAfter;
    };
    const std::vector<Case> cases{
        {"nothing", {}, true, "absent", "-", "-"},
        {"its own", {{pat, "t"}, {server, here}}, true, "t", "t", here},
        {"its own, named on the command line", {{pat, "t"}, {server, here}}, false, "t", "t", here},
        {"of an older version", {{pat, "t"}}, true, "t", "t", here},
        {"of an older version, another server named", {{pat, "t"}}, false, "absent", "t", "-"},
        {"another server's", {{pat, "t"}, {server, elsewhere}}, true, "absent", "t", elsewhere},
        {"damaged", {{pat, "\xC0\xAF"}, {server, here}}, true, "absent", "-", here},
        {"its server is damaged", {{pat, "t"}, {server, "\xFF"}}, true, "t", "t", here},
        {"empty", {{pat, ""}, {server, here}}, true, "", "", here},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto store = std::make_shared<MemorySecretStore>();
        Keychain::useStore(store);
        for (const auto& [account, text] : c.items) {
            ASSERT_TRUE(store->replace(Keychain::keyOf(account), text));
        }
        const auto credentials = make(here, c.isConfigured);
        EXPECT_EQ(outcome(credentials), c.token);
        EXPECT_EQ(stored(pat), c.patAfter);
        EXPECT_EQ(stored(server), c.serverAfter);
        // Whatever was there, a sign-in takes its place and ends without a trace.
        credentials->signIn("new", "ada@example.org");
        EXPECT_TRUE(run(credentials->settled()));
        EXPECT_EQ(stored(pat) + stored(server) + stored(userEmail),
                  std::string("new") + here + "ada@example.org");
        credentials->forget();
        EXPECT_TRUE(run(credentials->settled()));
        EXPECT_EQ(stored(pat) + stored(server) + stored(userEmail), "---");
        EXPECT_EQ(outcome(credentials), "absent");
    }
    EXPECT_FALSE(Keychain::set("\xC0\xAF", pat)) << "not UTF-8";
    const test::TemporaryFolder folder;
    Keychain::useStore(std::make_shared<FileSecretStore>(folder.write("file", "where a folder should be")));
    EXPECT_FALSE(Keychain::set("token", pat));
    EXPECT_EQ(log_.lines().back(), "[Keychain] SecItemAdd failed for pat: -36");
}

TEST_F(CredentialsTest, TellsTheFaultsOfAKeyringApartAndLosesNothing) {
    struct Case {
        Mode mode;
        bool hangs;
        SecretFault fault;
        int status;  // of a text that cannot be kept
    };
    for (const auto& c : {Case{Mode::locked, false, SecretFault::locked, -25308},
                          Case{Mode::unlocked, true, SecretFault::timedOut, -60},
                          Case{Mode::noBus, false, SecretFault::unavailable, -25291}}) {
        SCOPED_TRACE(static_cast<int>(c.fault));
        PrivateKeyring keyring(c.mode == Mode::locked ? Mode::unlocked : c.mode);
        Keychain::useStore(std::make_shared<SecretServiceStore>(c.hangs ? 300ms : 3000ms));
        Keychain::set("token", pat);
        const auto credentials = make(here);
        if (c.mode == Mode::locked) {
            keyring.lock();
        }
        if (c.hangs) {
            keyring.hang();
        }
        EXPECT_EQ(outcome(credentials), "fault " + std::to_string(static_cast<int>(c.fault)));
        EXPECT_FALSE(Keychain::set("a@example.org", userEmail));
        EXPECT_EQ(log_.lines("[Keychain]").back(),
                  "[Keychain] SecItemAdd failed for user_email: " + std::to_string(c.status));
        if (c.hangs) {
            keyring.goOn();
            EXPECT_EQ(outcome(credentials), "token") << "the next try";
            keyring.hang();
            EXPECT_EQ(outcome(credentials), "token") << "from memory";
            run(credentials->settled());  // past the look that began with it
            keyring.goOn();
        }
    }
}

TEST_F(CredentialsTest, LeavesOneItemWhereThereWereTwoAndOthersAlone) {
    const PrivateKeyring keyring(Mode::unlocked);
    const std::map<std::string, std::string> ours{{"service", "com.ostrel.tarn"}, {"account", "pat"}};
    PrivateKeyring::addItem("default", "org.example.other", ours, "foreign");
    Keychain::useStore(std::make_shared<SecretServiceStore>());
    const auto credentials = make(here);
    EXPECT_EQ(outcome(credentials), "absent") << "another program's, whatever it calls it";
    PrivateKeyring::addItem("session", "com.ostrel.tarn", ours, "one");
    EXPECT_EQ(outcome(credentials), "one");
    credentials->signIn("new", std::nullopt);
    EXPECT_TRUE(run(credentials->settled()));
    EXPECT_EQ(outcome(make(here)), "new");
    credentials->forget();
    EXPECT_TRUE(run(credentials->settled()));
    EXPECT_EQ(outcome(make(here)), "absent");
}

TEST_F(CredentialsTest, ASignOutThatTheKeyringMissedHoldsAtTheNextStart) {
    PrivateKeyring keyring(Mode::unlocked);
    Keychain::useStore(std::make_shared<SecretServiceStore>(300ms));
    const auto settings = UserDefaults::inMemory();
    const auto start = [&] {
        return Credentials::make(context_.get_executor(), context_.get_executor(), here, true, settings);
    };
    auto credentials = start();
    credentials->signIn("token", std::nullopt);
    EXPECT_TRUE(run(credentials->settled()));
    keyring.hang();
    credentials->forget();
    EXPECT_FALSE(run(credentials->settled()));
    keyring.goOn();
    EXPECT_EQ(stored(pat), "token");
    EXPECT_EQ(outcome(start()), "absent");
    EXPECT_EQ(stored(pat), "-");
    credentials->signIn("token", std::nullopt);
    EXPECT_TRUE(run(credentials->settled()));
    EXPECT_EQ(outcome(start()), "token") << "the same one, signed in with again";
}

TEST_F(CredentialsTest, ARefusalDeletesOnlyTheTokenThatWasRefused) {
    const auto store = std::make_shared<MemorySecretStore>();
    Keychain::useStore(store);
    for (const char* const meanwhile : {"old", "new"}) {
        Keychain::set("old", pat);
        const auto credentials = make(here);
        EXPECT_EQ(outcome(credentials), "old");
        Keychain::set(meanwhile, pat);  // another program
        credentials->refused();
        EXPECT_TRUE(run(credentials->settled()));
        EXPECT_EQ(stored(pat), std::string(meanwhile) == "new" ? "new" : "-");
        EXPECT_EQ(outcome(credentials), std::string(meanwhile) == "new" ? "new" : "absent");
    }
}

}  // namespace
}  // namespace tarn
