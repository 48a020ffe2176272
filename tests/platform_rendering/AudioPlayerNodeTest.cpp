// The player node on samples that count, so that every lost, doubled or mixed one shows.

#include "TarnPlatform/rendering/AudioPlayerNode.h"

#include <gmock/gmock.h>

#include "Playback.h"
#include "support/LogCapture.h"

namespace tarn {
namespace {

using test::counting;
using test::playbackBuffer;
using test::render;
using testing::Each;

std::vector<float> operator+(std::vector<float> first, const std::vector<float>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST(AudioPlayerNode, PlaysBuffersBackToBackInOrderAndThenSilence) {
    for (const std::size_t block : {1U, 7U, 240U, 2400U, 8192U}) {
        SCOPED_TRACE(block);
        AudioPlayerNode player;
        std::size_t total = 0;
        for (const std::size_t length : {2400U, 1U, 0U, 777U, 4096U}) {
            player.scheduleBuffer(playbackBuffer(counting(total + 1, length)));
            total += length;
        }
        EXPECT_EQ(player.queuedFrames(), total);
        player.play();
        EXPECT_EQ(render(player, total + 500, block), counting(1, total) + std::vector<float>(500));
        EXPECT_EQ(player.queuedFrames(), 0U);
        EXPECT_EQ(player.counters().framesPlayed, total);
        EXPECT_EQ(player.counters().ranDry, 1U);
        player.scheduleBuffer(playbackBuffer(counting(1, 100)));
        EXPECT_EQ(render(player, 100, block), counting(1, 100));
        EXPECT_EQ(player.counters().ranDry, 1U);  // the next buffer may still be in time
        render(player, 960, block);
        EXPECT_EQ(player.counters().ranDry, 2U);
    }
}

TEST(AudioPlayerNode, DropsWhatIsQueuedAndBeingPlayedOnStop) {
    AudioPlayerNode player;
    player.play();
    player.scheduleBuffer(playbackBuffer(counting(1, 1000)));
    player.scheduleBuffer(playbackBuffer(counting(1001, 1000)));
    EXPECT_EQ(render(player, 300), counting(1, 300));
    player.stop();
    EXPECT_EQ(player.queuedFrames(), 0U);
    player.scheduleBuffer(playbackBuffer(counting(5001, 100)));
    EXPECT_THAT(render(player, 300), Each(0.0F));
    player.play();
    EXPECT_EQ(render(player, 100), counting(5001, 100));
}

TEST(AudioPlayerNode, KeepsTheNewestInWholeBuffers) {
    AudioPlayerNode player;
    player.play();
    for (std::size_t first = 1; first < 1000; first += 100) {
        player.scheduleBuffer(playbackBuffer(counting(first, 100)));
    }
    EXPECT_EQ(render(player, 150), counting(1, 150));
    EXPECT_EQ(player.keepNewest(850), 0U);
    EXPECT_EQ(player.keepNewest(849), 50U);
    EXPECT_EQ(player.keepNewest(399), 500U);
    EXPECT_EQ(player.queuedFrames(), 300U);
    player.scheduleBuffer(playbackBuffer(counting(1001, 100)));
    EXPECT_EQ(render(player, 400), counting(701, 400));
    EXPECT_EQ(player.keepNewest(0), 0U);
}

TEST(AudioPlayerNode, SkipsWholeGroupsButNeitherTheOneThatPlaysNorTheNewest) {
    AudioPlayerNode player;
    player.play();
    player.endGroup();
    for (const std::size_t first : {1U, 301U, 401U, 601U}) {
        player.scheduleBuffer(playbackBuffer(counting(first, first == 401 ? 200 : 50)));
        if (first == 1) {
            player.scheduleBuffer(playbackBuffer(counting(51, 250)));
        } else if (first == 301) {
            player.scheduleBuffer(playbackBuffer(counting(351, 50)));
        }
        player.endGroup();
        player.endGroup();
    }
    EXPECT_EQ(render(player, 20), counting(1, 20));
    EXPECT_EQ(player.skipOldest(630), 0U);
    EXPECT_EQ(player.skipOldest(629), 100U);
    EXPECT_EQ(player.queuedFrames(), 530U);
    EXPECT_EQ(render(player, 300), counting(21, 280) + counting(401, 20));
    EXPECT_EQ(player.skipOldest(0), 0U);
    player.scheduleBuffer(playbackBuffer(counting(701, 50)));
    EXPECT_EQ(player.skipOldest(0), 50U);
    EXPECT_EQ(render(player, 240), counting(421, 180) + counting(701, 50) + std::vector<float>(10));
    for (std::size_t group = 0; group < 5000; ++group) {
        player.endGroup();
        player.scheduleBuffer(playbackBuffer(counting(group, 1)));
    }
    EXPECT_EQ(player.keepNewest(4000), 1000U);
    EXPECT_EQ(player.skipOldest(3), 3997U);
    EXPECT_EQ(render(player, 4), counting(4997, 3) + std::vector<float>(1));
    EXPECT_EQ(player.queuedFrames(), 0U);
}

TEST(AudioPlayerNode, RefusesWhatItCannotPlayWithALineAndPlaysTheRest) {
    const test::LogCapture log;
    AudioPlayerNode player;
    player.play();
    AudioFormat stereo = playbackBuffer({0}).format();
    stereo.channelCount = 2;
    player.scheduleBuffer(test::bufferOf(stereo, {counting(1, 10), counting(1, 10)}));
    player.scheduleBuffer(playbackBuffer(counting(1, 10)));
    EXPECT_EQ(render(player, 20), counting(1, 10) + std::vector<float>(10));
    EXPECT_EQ(player.counters().buffersRefused, 1U);
    EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("2 ch")));
}

}  // namespace
}  // namespace tarn
