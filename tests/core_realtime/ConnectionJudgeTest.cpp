#include "TarnCore/realtime/ConnectionJudge.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

using namespace std::chrono_literals;

/// What is seen from one moment on, every quarter of a second.
struct Stretch {
    std::chrono::milliseconds lasts;
    std::chrono::milliseconds silence;  ///< at its begin; it grows
    double late;                        ///< seconds
    bool isOnTheRoad;
    double unsent;  ///< seconds
    double pace = 1;
};

struct Case {
    const char* name;
    std::vector<Stretch> stretches;
    std::vector<std::string> told;
};

std::vector<std::string> judge(const std::vector<Stretch>& stretches) {
    ConnectionJudge judge;
    std::vector<std::string> told;
    Clock::TimePoint now{1h};
    double given = 0;
    for (const auto& stretch : stretches) {
        for (auto passed = 0ms; passed < stretch.lasts; passed += 250ms, now += 250ms) {
            const bool waits = stretch.silence != 0ms;
            const auto late =
                std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>(stretch.late));
            const WebSocketPulse pulse{waits ? stretch.silence + passed : 0ms, late, stretch.isOnTheRoad};
            if (const auto health = judge.take(pulse, stretch.unsent, given += stretch.pace / 4, now)) {
                constexpr const char* names[] = {"answering", "stalled", "slow", "lost"};
                told.push_back(names[static_cast<int>(health->state)]);
                if (health->behindSeconds > 0) {
                    told.back() += " " + std::to_string(static_cast<int>(health->behindSeconds));
                }
            }
        }
    }
    return told;
}

TEST(ConnectionJudge, TellsOnlyWhatLasts) {
    const Case cases[] = {
        {"nothingIsToldOfAGoodOne", {{10s, 0ms, 0.2, true, 0.1}}, {}},
        {"aServerThatIsSilentAndAgainThere",
         {{3s, 1000ms, 2.5, false, 0}, {2s, 0ms, 0, false, 0}},
         {"stalled", "answering"}},
        {"silenceWhileTheRoadIsBusyBlamesTheNetwork", {{2s, 1500ms, 4, true, 2}}, {"slow 6"}},
        {"aRoadThatIsCutIsAStallHoweverMuchWaits", {{3s, 2000ms, 3, false, 5}}, {"stalled"}},
        {"burstsOfAnswersDoNotFlap",
         {{1s, 0ms, 2, true, 6}, {2s, 1500ms, 2, false, 6}, {1s, 0ms, 0, true, 6}, {2s, 1500ms, 2, false, 6}},
         {"slow 8", "slow 6", "slow 8"}},
        {"slowEndsWhenItHasBeenQuickForAWhile",
         {{1s, 0ms, 1, true, 3}, {2s, 0ms, 0.2, true, 0}, {1s, 0ms, 2, true, 0}, {5s, 0ms, 0.2, true, 0}},
         {"slow 4", "slow 1", "slow 2", "slow 1", "answering"}},
        {"aRecordingGivenAtOnceWaitsForTheServerOnly",
         {{1s, 0ms, 0, true, 0, 3}, {20s, 0ms, 4, true, 1, 3}},
         {}},
        {"aShortDelayIsNotTold", {{10s, 0ms, 2.5, true, 0.2}}, {}},
        {"aSlowOneThatStopsAnsweringIsAStall",
         {{1s, 0ms, 2, true, 6}, {6s, 1000ms, 2, false, 6}},
         {"slow 8", "stalled"}}};
    for (const auto& [name, stretches, told] : cases) {
        EXPECT_EQ(judge(stretches), told) << name;
    }
}

}  // namespace
}  // namespace tarn
