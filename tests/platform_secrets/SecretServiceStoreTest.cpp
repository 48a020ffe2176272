// The keyring store against a real gnome-keyring on a private bus, in every condition a desktop can have it.

#include "TarnPlatform/secrets/SecretServiceStore.h"

#include <gmock/gmock.h>

#include <future>
#include <vector>

#include "TarnPlatform/secrets/SecretStores.h"
#include "support/LogCapture.h"
#include "support/keyring/PrivateKeyring.h"
#include "support/keyring/Shown.h"

namespace tarn {
namespace {

using test::PrivateKeyring;
using test::PromptOnScreen;
using test::shown;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

const SecretKey token{"com.ostrel.tarn", "pat"};
const SecretKey email{"com.ostrel.tarn", "user_email"};

class SecretServiceStoreTest : public testing::Test {
protected:
    /// All three calls, and what they fail with.
    static std::vector<SecretFault> faults(SecretStore& store) {
        std::vector<SecretFault> result;
        const auto note = [&](const auto& outcome) {
            ASSERT_FALSE(outcome) << "call " << result.size() << " succeeded";
            result.push_back(outcome.error().fault);
        };
        note(store.get(token));
        note(store.replace(token, "new"));
        note(store.remove(token));
        return result;
    }

    const test::LogCapture log_;
};

TEST_F(SecretServiceStoreTest, KeepsOneItemPerKeyInAnUnlockedKeyring) {
    const PrivateKeyring keyring(PrivateKeyring::Mode::unlocked);
    EXPECT_EQ(SecretServiceStore::presence(), SecretServicePresence::owned);
    SecretServiceStore store;
    EXPECT_EQ(shown(store.get(token)), "(none)");
    EXPECT_EQ(store.remove(token), false);
    ASSERT_TRUE(store.replace(token, "first"));
    ASSERT_TRUE(store.replace(token, "sécond"));
    ASSERT_TRUE(store.replace(email, "u@example.org"));
    EXPECT_EQ(shown(SecretServiceStore().get(token)), "sécond");
    EXPECT_EQ(store.remove(token), true);
    EXPECT_EQ(shown(store.get(token)), "(none)") << "a first value was left under the second";
    EXPECT_EQ(shown(store.get(email)), "u@example.org");
    EXPECT_THAT(log_.lines(), ElementsAre());
}

TEST_F(SecretServiceStoreTest, TellsALockedSecretFromAnAbsentOneAndSaysSoOnce) {
    PrivateKeyring keyring(PrivateKeyring::Mode::unlocked);
    SecretServiceStore store;
    ASSERT_TRUE(store.replace(token, "kept"));
    keyring.lock();
    EXPECT_THAT(faults(store), ElementsAre(SecretFault::locked, SecretFault::locked, SecretFault::locked));
    EXPECT_EQ(shown(store.get(email)), "(none)") << "never stored: absent, whatever is locked";
    EXPECT_EQ(log_.lines("[secrets] the keyring is locked").size(), 1U);
}

TEST_F(SecretServiceStoreTest, LetsGoOfAHungKeyringAndWorksOnceItGoesOn) {
    PrivateKeyring keyring(PrivateKeyring::Mode::unlocked);
    SecretServiceStore store(300ms);
    ASSERT_TRUE(SecretServiceStore().replace(token, "kept"));
    keyring.hang();
    EXPECT_EQ(SecretServiceStore::presence(), SecretServicePresence::owned);
    EXPECT_THAT(faults(store),
                ElementsAre(SecretFault::timedOut, SecretFault::timedOut, SecretFault::timedOut));
    EXPECT_THAT(log_.lines(), ElementsAre("[secrets] the keyring does not answer"));
    keyring.goOn();
    EXPECT_EQ(shown(SecretServiceStore().get(token)), "kept");
}

TEST_F(SecretServiceStoreTest, WaitsPastItsLimitWhileThePromptIsUpAndDoesNotBringADismissedOneBack) {
    PrivateKeyring keyring(PrivateKeyring::Mode::unlocked);
    SecretServiceStore store(300ms);
    ASSERT_TRUE(SecretServiceStore().replace(token, "kept"));
    keyring.lock();
    PromptOnScreen prompt;
    auto reading = std::async(std::launch::async, [&] { return store.get(token); });
    prompt.waitUntilUp();
    EXPECT_EQ(reading.wait_for(900ms), std::future_status::timeout) << "cut off while the user was typing";
    prompt.dismiss();
    const auto got = reading.get();
    ASSERT_FALSE(got);
    EXPECT_EQ(got.error().fault, SecretFault::locked);
    EXPECT_EQ(store.get(token).error().fault, SecretFault::locked);
    EXPECT_EQ(prompt.timesAsked(), 1);
    EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("waits to be unlocked"), HasSubstr("is locked")));
}

TEST_F(SecretServiceStoreTest, LetsGoOfAPromptWhoseKeyringOrBusDies) {
    for (const bool busDies : {false, true}) {
        SCOPED_TRACE(busDies);
        PrivateKeyring keyring(PrivateKeyring::Mode::unlocked);
        SecretServiceStore store;
        ASSERT_TRUE(store.replace(token, "kept"));
        keyring.lock();
        PromptOnScreen prompt;
        auto reading = std::async(std::launch::async, [&] { return store.get(token); });
        prompt.waitUntilUp();
        if (busDies) {
            keyring.killBus();
        } else {
            keyring.killDaemon();
        }
        const auto got = reading.get();
        ASSERT_FALSE(got);
        EXPECT_EQ(got.error().fault, SecretFault::unavailable);
    }
}

TEST_F(SecretServiceStoreTest, ReportsAKeyringThatIsNotThere) {
    for (const auto mode : {PrivateKeyring::Mode::absent, PrivateKeyring::Mode::noBus}) {
        const PrivateKeyring keyring(mode);
        SecretServiceStore store;
        EXPECT_THAT(faults(store), ElementsAre(SecretFault::unavailable, SecretFault::unavailable,
                                               SecretFault::unavailable));
    }
}

TEST_F(SecretServiceStoreTest, AsksForAKeyringWithoutStartingItAndStartsItForASecret) {
    const PrivateKeyring keyring(PrivateKeyring::Mode::activatable);
    EXPECT_EQ(SecretServiceStore::presence(), SecretServicePresence::activatable);
    EXPECT_FALSE(keyring.isRunning());
    EXPECT_EQ(shown(SecretServiceStore().get(token)), "(none)");
    EXPECT_TRUE(keyring.isRunning());
    EXPECT_EQ(SecretServiceStore().replace(token, "value").error().fault, SecretFault::locked)
        << "a keyring without a collection wants its user to make one";
}

TEST_F(SecretServiceStoreTest, GivesWayToFilesOnlyWhereNoKeyringExists) {
    using Mode = PrivateKeyring::Mode;
    for (const auto mode : {Mode::absent, Mode::noBus, Mode::locked, Mode::unlocked, Mode::activatable}) {
        SCOPED_TRACE(static_cast<int>(mode));
        const PrivateKeyring keyring(mode);
        const test::LogCapture log;
        const auto folder = keyring.folder() / "share";
        const auto store = openSecretStore(folder);
        const bool stored = store->replace(token, "value").has_value();
        if (mode == Mode::absent || mode == Mode::noBus) {
            EXPECT_TRUE(stored);
            EXPECT_TRUE(std::filesystem::exists(folder / "com.ostrel.tarn.pat"));
            EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("kept in files in " + folder.string())));
        } else {
            EXPECT_EQ(stored, mode == Mode::unlocked);
            EXPECT_FALSE(std::filesystem::exists(folder)) << "a secret beside a keyring";
        }
    }
}

}  // namespace
}  // namespace tarn
