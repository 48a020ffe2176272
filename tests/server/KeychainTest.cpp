// The keychain over both real stores: a gnome-keyring on a private bus, and files.

#include "TarnApp/server/Keychain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "TarnPlatform/secrets/FileSecretStore.h"
#include "TarnPlatform/secrets/SecretServiceStore.h"
#include "support/LogCapture.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using test::PrivateKeyring;
using testing::ElementsAre;
using enum Keychain::Account;
using Mode = PrivateKeyring::Mode;
using namespace std::chrono_literals;

class KeychainTest : public testing::Test {
protected:
    ~KeychainTest() override { Keychain::useStore(nullptr); }

    test::LogCapture log_;
};

TEST_F(KeychainTest, KeepsOneTextPerAccountAndNothingElse) {
    const PrivateKeyring keyring(Mode::unlocked);
    const std::shared_ptr<SecretStore> stores[] = {
        std::make_shared<SecretServiceStore>(),
        std::make_shared<FileSecretStore>(keyring.folder() / "share")};
    for (const auto& store : stores) {
        SCOPED_TRACE(store == stores[0] ? "keyring" : "files");
        Keychain::useStore(store);
        EXPECT_EQ(Keychain::get(pat), std::nullopt);
        EXPECT_TRUE(Keychain::remove(pat)) << "a missing item counts as removed";
        EXPECT_TRUE(Keychain::set("one", pat));
        EXPECT_TRUE(Keychain::set("zwei ✓", pat));
        EXPECT_TRUE(Keychain::set("u@example.org", userEmail));
        EXPECT_EQ(Keychain::get(pat), "zwei ✓");
        EXPECT_EQ(Keychain::get(userEmail), "u@example.org");
        EXPECT_EQ(store->get({"com.ostrel.tarn", "user_email"}).value(), "u@example.org");
        EXPECT_TRUE(Keychain::remove(pat));
        EXPECT_EQ(Keychain::get(pat), std::nullopt);

        EXPECT_TRUE(Keychain::set("kept", pat));
        EXPECT_FALSE(Keychain::set("\xC0\xAF", pat));
        EXPECT_EQ(Keychain::get(pat), "kept");
        EXPECT_TRUE(Keychain::set("", pat));
        EXPECT_EQ(Keychain::get(pat), "") << "an empty item is there";
    }
    EXPECT_THAT(log_.lines(), ElementsAre());
    std::ofstream(keyring.folder() / "blocked") << "a file where the folder should be";
    Keychain::useStore(std::make_shared<FileSecretStore>(keyring.folder() / "blocked"));
    EXPECT_FALSE(Keychain::set("token", pat));
    EXPECT_THAT(log_.lines(), ElementsAre("[Keychain] SecItemAdd failed for pat: -36"));
}

TEST_F(KeychainTest, WritesTheStatusOfAStoreThatCouldNotTakeTheItem) {
    struct Case {
        Mode mode;
        bool hangs;
        int status;
    };
    for (const auto& entry : {Case{Mode::locked, false, -25308}, Case{Mode::absent, false, -25291},
                              Case{Mode::noBus, false, -25291}, Case{Mode::unlocked, true, -60}}) {
        SCOPED_TRACE(entry.status);
        PrivateKeyring keyring(entry.mode);
        Keychain::useStore(std::make_shared<SecretServiceStore>(entry.hangs ? 300ms : 3000ms));
        if (entry.hangs) {
            keyring.hang();
        }
        const auto before = log_.lines("[Keychain]").size();
        EXPECT_FALSE(Keychain::set("token", userEmail));
        EXPECT_EQ(Keychain::get(userEmail), std::nullopt);
        // A locked keyring shows what it holds, and it does not hold this.
        EXPECT_EQ(Keychain::remove(userEmail), entry.mode == Mode::locked);
        const auto lines = log_.lines("[Keychain]");
        ASSERT_EQ(lines.size(), before + 1);
        EXPECT_EQ(lines.back(),
                  "[Keychain] SecItemAdd failed for user_email: " + std::to_string(entry.status));
    }
}

}  // namespace
}  // namespace tarn
