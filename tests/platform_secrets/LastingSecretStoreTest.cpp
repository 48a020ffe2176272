// What becomes of secrets that a store refuses.
#include "TarnPlatform/secrets/MemorySecretStore.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace tarn {
namespace {

struct FullStore : MemorySecretStore {
    bool isFull = true;
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        if (isFull) {
            return std::unexpected(SecretError{SecretFault::refused, "the disk is full"});
        }
        return MemorySecretStore::replace(key, value);
    }
};

TEST(LastingSecretStore, KeepsWhatIsRefusedUntilItIsStoredOrRemoved) {
    const SecretKey token{"com.ostrel.tarn", "pat"};
    const test::LogCapture log;
    const auto full = std::make_shared<FullStore>();
    LastingSecretStore store(full);
    const auto kept = [&] { return store.get(token).value().value_or("none"); };

    EXPECT_EQ(store.replace(token, "first").error().fault, SecretFault::refused);
    EXPECT_EQ(kept(), "first");
    EXPECT_EQ(log.lines("first").size(), 0U) << "a secret reached the log";
    EXPECT_TRUE(store.remove(token).value());
    EXPECT_EQ(kept(), "none");
    EXPECT_FALSE(store.remove(token).value());

    EXPECT_FALSE(store.replace(token, "second"));
    full->isFull = false;
    EXPECT_TRUE(store.replace(token, "third"));
    EXPECT_EQ(kept(), "third");
    EXPECT_EQ(full->get(token).value(), "third");
    full->isFull = true;
    EXPECT_FALSE(store.replace(token, "fourth"));
    EXPECT_EQ(kept(), "fourth") << "the newer one counts";
    EXPECT_TRUE(store.remove(token).value());
    EXPECT_EQ(kept(), "none") << "signed out is signed out";
}

}  // namespace
}  // namespace tarn
