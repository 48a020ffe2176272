#include "TarnPlatform/base/SerialQueue.h"

#include <gmock/gmock.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <semaphore>
#include <stdexcept>
#include <vector>

namespace tarn {
namespace {

TEST(SerialQueue, RunsTheWorkOfEveryGiverInItsOrderOnOneNamedThread) {
    constexpr int perGiver = 5000;
    std::array<int, 3> next{};  // touched by the queue only
    int outOfOrder = 0;
    SerialQueue queue("capture of a microphone");
    std::vector<std::thread> givers;
    for (std::size_t giver = 0; giver < next.size(); ++giver) {
        givers.emplace_back([&, giver] {
            for (int i = 0; i < perGiver; ++i) {
                queue.async([&, giver, i] { outOfOrder += next[giver]++ == i ? 0 : 1; });
            }
        });
    }
    for (auto& giver : givers) {
        giver.join();
    }
    const auto name = queue.sync([] {
        std::array<char, 16> text{};
        ::pthread_getname_np(::pthread_self(), text.data(), text.size());
        return std::string(text.data());
    });
    EXPECT_EQ(name, "capture of a mi");
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_THAT(next, testing::Each(perGiver));
}

TEST(SerialQueue, WaitsForSynchronousWorkAndPassesOnWhatItThrows) {
    SerialQueue queue("test");
    EXPECT_FALSE(queue.isCurrent());
    EXPECT_EQ(queue.sync([&] { return queue.sync([&] { return queue.isCurrent() ? 7 : 0; }); }), 7);
    EXPECT_THROW(queue.sync([] { throw std::runtime_error("no"); }), std::runtime_error);
}

TEST(SerialQueue, FinishesWhatItWasGivenWhenItIsDestroyed) {
    std::vector<int> done;
    std::binary_semaphore isBusy{0};
    std::binary_semaphore mayGoOn{0};
    std::atomic<int> signalled{0};
    {
        SerialQueue queue("test");
        queue.setSource([&] { done.push_back(-signalled); });
        queue.async([&] {
            isBusy.release();
            mayGoOn.acquire();
            queue.async([&] { done.push_back(3); });
        });
        isBusy.acquire();
        queue.async([&] { done.push_back(1); });
        queue.async([&] { done.push_back(2); });
        signalled = 1;
        queue.signalRt();
        mayGoOn.release();
    }
    EXPECT_THAT(done, testing::UnorderedElementsAre(1, 2, 3, -1));
}

TEST(SerialQueue, CanBeDestroyedByItsOwnWork) {
    std::vector<int> done;
    std::binary_semaphore mayGo{0};
    std::promise<void> isGone;
    auto queue = std::make_unique<SerialQueue>("test");
    auto& given = *queue;
    given.async([&] {
        mayGo.acquire();
        queue.reset();
        done.push_back(2);
        isGone.set_value();
    });
    given.async([&] { done.push_back(1); });
    mayGo.release();
    isGone.get_future().get();
    EXPECT_THAT(done, testing::ElementsAre(1, 2));
}

TEST(SerialQueue, DrainsBetweenTheWorkThatWasGivenBeforeAndAfterTheSignal) {
    std::vector<char> order;
    std::binary_semaphore isBusy{0};
    std::binary_semaphore mayGoOn{0};
    SerialQueue queue("test");
    queue.setSource([&] { order.push_back('d'); });
    queue.async([&] {
        isBusy.release();
        mayGoOn.acquire();
    });
    isBusy.acquire();
    queue.async([&] { order.push_back('a'); });
    queue.signalRt();
    queue.signalRt();
    queue.async([&] { order.push_back('b'); });
    mayGoOn.release();
    queue.sync([] {});
    EXPECT_EQ(std::string(order.begin(), order.end()), "adb");
}

TEST(SerialQueue, LosesNoSignalAndCallsNoSourceThatWasTakenAway) {
    constexpr int signals = 50000;
    std::atomic<int> produced{0};
    int seen = 0;
    int missed = 0;
    SerialQueue queue("test");
    queue.setSource([&] { seen = produced; });
    std::thread callback([&] {
        for (int i = 1; i <= signals; ++i) {
            produced.store(i, std::memory_order_relaxed);
            queue.signalRt();
            if (i % 1000 == 0) {
                queue.async([&, i] { missed += seen >= i ? 0 : 1; });
            }
        }
    });
    callback.join();
    queue.sync([] {});
    EXPECT_EQ(seen, signals);
    EXPECT_EQ(missed, 0);
    queue.setSource({});
    produced = -1;
    queue.signalRt();
    queue.sync([] {});
    EXPECT_EQ(seen, signals);
}

}  // namespace
}  // namespace tarn
