// The way from the graph's real-time thread to the receiver, without a graph.

#include "TarnPlatform/capture/CaptureDelivery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <semaphore>
#include <thread>
#include <vector>

#include "TarnPlatform/capture/CaptureFold.h"
#include "support/AllocationGuard.h"
#include "support/LogCapture.h"

namespace tarn {
namespace {

constexpr std::size_t cycle = 1024;

/// A cycle whose left channel counts frames from `first` on.
std::vector<float> counting(std::size_t first) {
    std::vector<float> surround(cycle * CaptureFold::inputChannels);
    for (std::size_t frame = 0; frame < cycle; ++frame) {
        surround[frame * CaptureFold::inputChannels] = static_cast<float>(first + frame);
    }
    return surround;
}

std::vector<float> leftOf(const SampleBuffer& buffer) {
    const auto* samples = reinterpret_cast<const float*>((*buffer.audioBufferList)[0].data);
    return {samples, samples + buffer.numSamples};
}

TEST(CaptureDelivery, KeepsEveryFrameInOrderForAReceiverThatIsHeldUpForASecond) {
    constexpr std::size_t cycles = 300;
    std::vector<float> heard;
    std::binary_semaphore mayGoOn{0};
    const test::LogCapture log;
    {
        const auto queue = std::make_shared<SerialQueue>("test");
        CaptureDelivery delivery(queue, [&](const SampleBuffer& buffer) {
            if (heard.empty()) {
                mayGoOn.acquire();
            }
            const auto left = leftOf(buffer);
            heard.insert(heard.end(), left.begin(), left.end());
        });
        std::thread graph([&] {
            std::size_t allocations = 0;
            for (std::size_t i = 0; i < cycles; ++i) {
                const auto surround = counting(i * cycle);
                const test::AllocationGuard guard;
                delivery.pushRt(surround);
                allocations += guard.count();
                if (i == 48) {
                    mayGoOn.release();  // more than a second is waiting
                } else if (i > 48 && i % 20 == 0) {
                    queue->sync([] {});
                }
            }
            EXPECT_EQ(allocations, 0U);
        });
        graph.join();
    }
    ASSERT_EQ(heard.size(), cycles * cycle);
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        ASSERT_EQ(heard[frame], static_cast<float>(frame));
    }
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST(CaptureDelivery, TellsOnceOfWhatAReceiverLosesThatIsTooSlow) {
    std::vector<float> heard;
    std::binary_semaphore isHeldUp{0};
    std::binary_semaphore mayGoOn{0};
    const test::LogCapture log;
    {
        const auto queue = std::make_shared<SerialQueue>("test");
        CaptureDelivery delivery(queue, [&](const SampleBuffer& buffer) {
            if (heard.empty()) {
                isHeldUp.release();
                mayGoOn.acquire();
            }
            const auto left = leftOf(buffer);
            heard.insert(heard.end(), left.begin(), left.end());
        });
        delivery.pushRt(counting(0));
        isHeldUp.acquire();
        for (std::size_t i = 1; i < 200; ++i) {
            delivery.pushRt(counting(i * cycle));
        }
        mayGoOn.release();
        queue->sync([] {});
        delivery.pushRt(counting(200 * cycle));
    }
    EXPECT_GT(heard.size(), std::size_t{CaptureDelivery::rate});
    EXPECT_LT(heard.size(), 200 * cycle);
    EXPECT_EQ(heard[48000], 48000);
    EXPECT_EQ(heard.back(), static_cast<float>(201 * cycle - 1));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines().front(), testing::StartsWith("[capture] sound came faster than it was taken: "));
}

TEST(CaptureFold, WeighsEachChannelAndTakesWhatIsNoNumberForSilence) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    const float endless = std::numeric_limits<float>::infinity();
    const struct {
        std::array<float, 6> surround;
        std::array<float, 2> stereo;
    } cases[] = {
        {{1, 0, 0, 0, 0, 0}, {1, 0}},
        {{0, 1, 0, 0, 0, 0}, {0, 1}},
        {{0, 0, 1, 0, 0, 0}, {0.7071F, 0.7071F}},
        {{0, 0, 0, 1, 0, 0}, {0.3536F, 0.3536F}},
        {{0, 0, 0, 0, 1, 0}, {0.7071F, 0}},
        {{0, 0, 0, 0, 0, 1}, {0, 0.7071F}},
        {{1, 1, 1, 1, 1, 1}, {2.7678F, 2.7678F}},
        {{none, 0.5F, -endless, endless, 0, none}, {0, 0.5F}},
    };
    for (const auto& [surround, expected] : cases) {
        std::array<float, 2> stereo{};
        CaptureFold::foldRt(surround, stereo);
        EXPECT_NEAR(stereo[0], expected[0], 1e-4);
        EXPECT_NEAR(stereo[1], expected[1], 1e-4);
    }
}

}  // namespace
}  // namespace tarn
