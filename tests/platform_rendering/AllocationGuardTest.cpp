// The guard itself: it must see what C++ and C libraries ask of the heap, and nothing of other threads.

#include "support/AllocationGuard.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace tarn::test {
namespace {

TEST(AllocationGuard, SeesTheHeapUsedByThisThreadInEveryWay) {
    std::vector<int> grown(1);
    auto owned = std::make_unique<int>(1);
    char* line = nullptr;
    const AllocationGuard guard;
    EXPECT_EQ(guard.count(), 0U);
    grown.resize(1000);
    const auto afterGrowing = guard.count();
    EXPECT_GE(afterGrowing, 2U);
    owned.reset();
    const auto afterFreeing = guard.count();
    EXPECT_GT(afterFreeing, afterGrowing);
    const int length = ::asprintf(&line, "allocated in the %s", "C library");
    const auto afterPrinting = guard.count();
    EXPECT_GT(afterPrinting, afterFreeing);
    std::free(line);
    EXPECT_GT(guard.count(), afterPrinting);
    EXPECT_GT(length, 0);
}

TEST(AllocationGuard, LeavesOtherThreadsOut) {
    std::thread other;
    std::size_t here = 0;
    std::size_t there = 0;
    {
        other = std::thread([&] {
            const AllocationGuard own;
            const std::vector<int> memory(1000);
            there = own.count() + memory.size() - 1000;
        });
        const AllocationGuard guard;
        other.join();
        here = guard.count();
    }
    EXPECT_GE(there, 1U);
    EXPECT_LE(here, 1U);  // joining may free the thread's state
}

}  // namespace
}  // namespace tarn::test
