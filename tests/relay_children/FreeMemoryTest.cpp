#include "TarnPlatform/process/OwnProcess.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>

namespace tarn {
namespace {

TEST(FreeMemoryTest, LargeBlocksAreMappedByThemselvesAlsoAfterLargerOnesWereFreed) {
    mapLargeBlocks();
    void* volatile larger = std::malloc(24UZ << 20);
    std::free(larger);
    const auto before = ::mallinfo2().hblks;
    void* volatile block = std::malloc(2UZ << 20);
    const auto mapped = ::mallinfo2().hblks - before;
    std::free(block);
    EXPECT_EQ(mapped, 1U);
}

}  // namespace
}  // namespace tarn
