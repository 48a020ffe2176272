// The way from the graph's real-time thread to the receiver, without a graph.

#include "TarnPlatform/capture/CaptureDelivery.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <semaphore>
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

/// Takes left channels, and stops at the first until it may go on.
struct HeldUp {
    std::vector<float> heard;
    std::binary_semaphore isHeldUp{0};
    std::binary_semaphore mayGoOn{0};
    test::LogCapture log;
    std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test");

    void take(const SampleBuffer& buffer) {
        if (heard.empty()) {
            isHeldUp.release();
            mayGoOn.acquire();
        }
        const auto* samples = reinterpret_cast<const float*>((*buffer.audioBufferList)[0].data);
        heard.insert(heard.end(), samples, samples + buffer.numSamples);
    }
};

TEST(CaptureDelivery, KeepsEveryFrameInOrderForAReceiverThatIsHeldUpForASecond) {
    constexpr std::size_t cycles = 300;
    HeldUp receiver;
    {
        CaptureDelivery delivery(receiver.queue, [&](const SampleBuffer& buffer) { receiver.take(buffer); });
        for (std::size_t i = 0; i < cycles; ++i) {
            const auto surround = counting(i * cycle);
            const test::AllocationGuard guard;
            delivery.pushRt(surround);
            EXPECT_EQ(guard.count(), 0U);
            if (i == 48) {
                receiver.mayGoOn.release();  // more than a second is waiting
            } else if (i > 48 && i % 20 == 0) {
                receiver.queue->sync([] {});
            }
        }
    }
    ASSERT_EQ(receiver.heard.size(), cycles * cycle);
    for (std::size_t frame = 0; frame < receiver.heard.size(); ++frame) {
        ASSERT_EQ(receiver.heard[frame], static_cast<float>(frame));
    }
    EXPECT_THAT(receiver.log.lines(), testing::IsEmpty());
}

TEST(CaptureDelivery, TellsOnceOfWhatAReceiverLosesThatIsTooSlow) {
    HeldUp receiver;
    {
        CaptureDelivery delivery(receiver.queue, [&](const SampleBuffer& buffer) { receiver.take(buffer); });
        delivery.pushRt(counting(0));
        receiver.isHeldUp.acquire();
        for (std::size_t i = 1; i < 200; ++i) {
            delivery.pushRt(counting(i * cycle));
        }
        receiver.mayGoOn.release();
        receiver.queue->sync([] {});
        delivery.pushRt(counting(200 * cycle));
    }
    EXPECT_GT(receiver.heard.size(), std::size_t{CaptureDelivery::rate});
    EXPECT_LT(receiver.heard.size(), 200 * cycle);
    EXPECT_EQ(receiver.heard[48000], 48000);
    EXPECT_EQ(receiver.heard.back(), static_cast<float>(201 * cycle - 1));
    ASSERT_EQ(receiver.log.lines().size(), 1U);
    EXPECT_THAT(receiver.log.lines().front(),
                testing::StartsWith("[capture] sound came faster than it was taken: "));
}

TEST(CaptureFold, TakesWhatIsNoNumberForSilence) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    const float endless = std::numeric_limits<float>::infinity();
    std::array<float, 2> stereo{};
    CaptureFold::foldRt(std::array{none, 0.5F, -endless, endless, 0.0F, none}, stereo);
    EXPECT_EQ(stereo, (std::array{0.0F, 0.5F}));
}

}  // namespace
}  // namespace tarn
