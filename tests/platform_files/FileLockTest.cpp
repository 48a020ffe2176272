#include "TarnPlatform/base/FileLock.h"

#include <gtest/gtest.h>

#include <future>

#include "support/Program.h"

namespace tarn {
namespace {

TEST(FileLock, WaitsForItsHolderNoLongerThanItsLimit) {
    const test::TemporaryFolder folder;
    const std::filesystem::path path = folder.file("lock");
    auto held = lockFile(path, std::chrono::seconds(1));
    ASSERT_TRUE(held);
    const auto late = lockFile(path, std::chrono::milliseconds(50));
    ASSERT_FALSE(late);
    EXPECT_EQ(late.error().kind, ErrorKind::timeout);

    auto waiting =
        std::async(std::launch::async, [&path] { return lockFile(path, std::chrono::seconds(20)); });
    held->reset();
    EXPECT_TRUE(waiting.get());
}

}  // namespace
}  // namespace tarn
