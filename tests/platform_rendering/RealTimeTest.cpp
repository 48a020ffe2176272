// The whole chain as the audio thread sees it: nothing asked of the heap, and callers of every kind beside
// it.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "Playback.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"
#include "TarnPlatform/rendering/MainMixerNode.h"
#include "support/AllocationGuard.h"

namespace tarn {
namespace {

struct Chain {
    Chain() {
        timePitch.setSource(&player);
        gain.setSource(&timePitch);
        mixer.setSource(&gain);
        mixer.prepare(1024);
        player.play();
    }

    AudioPlayerNode player;
    AudioUnitTimePitch timePitch;
    AudioUnitEQ gain;
    MainMixerNode mixer;
};

TEST(RealTime, RendersWithoutTheHeapWhateverChanges) {
    Chain chain;
    std::vector<float> out(8192);
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 10; ++i) {
            chain.player.scheduleBuffer(test::playbackBuffer(test::tone(150 + round, 24000, 0.1)));
        }
        if (round % 7 == 6) {
            chain.player.stop();
            chain.player.play();
        }
        chain.timePitch.setRate(0.5F + 0.0375F * static_cast<float>(round));
        chain.gain.setGlobalGain(static_cast<float>(round) - 16);
        const test::AllocationGuard guard;
        // The rate 1.0 has its turn too, and so has the end of what is queued.
        for (const std::size_t frames : {1U, 240U, 8192U, 1024U, 8192U}) {
            chain.mixer.renderRt(std::span(out).first(frames));
        }
        chain.timePitch.setRate(1.0F);
        chain.mixer.renderRt(out);
        ASSERT_EQ(guard.count(), 0U) << round;
    }
    EXPECT_GT(chain.player.counters().framesPlayed, 100000U);
}

// Every buffer holds one number throughout, larger from buffer to buffer: what is played may leave out, where
// it was stopped, but never goes back, and comes from whole buffers that are still there.
TEST(RealTime, PlaysInOrderWhileOthersScheduleAndStop) {
    AudioPlayerNode player;
    player.play();
    constexpr int buffers = 4000;
    std::atomic<bool> finished = false;
    std::atomic<int> stops = 0;
    bool ordered = true;
    std::thread audio([&] {
        std::vector<float> block(64);
        float last = 0;
        while (!finished) {
            player.renderRt(block);
            for (const float sample : block) {
                ordered = ordered && (sample == 0 || sample >= last);
                last = std::max(sample, last);
            }
        }
    });
    std::thread stopper([&] {
        while (!finished) {
            player.stop();
            player.play();
            ++stops;
            player.queuedFrames();
            std::this_thread::yield();
        }
    });
    for (int i = 1; i <= buffers; ++i) {
        player.scheduleBuffer(
            test::playbackBuffer(std::vector<float>(50, static_cast<float>(i) / (2 * buffers))));
        if (i % 50 == 0) {
            // On a busy machine all three get their turn.
            for (const auto seen = stops.load(); stops.load() == seen;) {
                std::this_thread::yield();
            }
        }
    }
    finished = true;
    audio.join();
    stopper.join();
    EXPECT_TRUE(ordered);

    // And it still works.
    player.stop();
    player.play();
    player.scheduleBuffer(test::playbackBuffer({0.75F}));
    EXPECT_EQ(test::render(player, 2), (std::vector<float>{0.75F, 0.0F}));
}

TEST(RealTime, PlaysGroupsWholeWhileOthersAreSkipped) {
    AudioPlayerNode player;
    player.play();
    constexpr std::uint64_t groups = 6000;
    std::atomic<bool> finished = false;
    std::vector<int> played(groups + 1);
    std::atomic<int> rounds = 0;
    std::thread audio([&] {
        std::vector<float> block(70);
        while (!finished || player.queuedFramesRt() > 0) {
            player.renderRt(block);
            ++rounds;
            for (const float sample : block) {
                ++played[static_cast<std::size_t>(std::lround(sample * groups))];
            }
        }
    });
    std::uint64_t skipped = 0;
    for (std::uint64_t group = 1; group <= groups; ++group) {
        for (int part = 0; part < 3; ++part) {
            player.scheduleBuffer(test::playbackBuffer(
                std::vector<float>(50, static_cast<float>(group) / static_cast<float>(groups))));
        }
        player.endGroup();
        skipped += player.skipOldest(group % 100 == 0 ? 0 : 1000);
        if (group % 20 == 0) {
            for (const auto seen = rounds.load(); rounds.load() == seen;) {
                std::this_thread::yield();
            }
        }
    }
    finished = true;
    audio.join();
    std::uint64_t wholes = 0;
    for (std::size_t group = 1; group <= groups; ++group) {
        ASSERT_TRUE(played[group] == 0 || played[group] == 150) << group << ": " << played[group];
        wholes += played[group] == 0 ? 0 : 1;
    }
    EXPECT_EQ(wholes * 150 + skipped, groups * 150);
    EXPECT_GT(wholes, 1U);
    EXPECT_GT(skipped, 0U);
}

TEST(RealTime, TakesRateAndGainFromOtherThreadsWhileRendering) {
    Chain chain;
    std::atomic<bool> finished = false;
    std::thread audio([&] {
        std::vector<float> block(256);
        while (!finished) {
            chain.mixer.renderRt(block);
        }
    });
    for (int i = 0; i < 300; ++i) {
        chain.player.scheduleBuffer(test::playbackBuffer(test::tone(200, 24000, 0.02)));
        chain.timePitch.setRate(0.5F + 0.005F * static_cast<float>(i));
        chain.gain.setGlobalGain(static_cast<float>(i % 40) - 20);
        while (chain.player.queuedFrames() > 5000) {
            std::this_thread::yield();
        }
    }
    finished = true;
    audio.join();
    EXPECT_GE(chain.player.counters().framesPlayed, 300U * 480 - 5000);
}

}  // namespace
}  // namespace tarn
