#include "TarnCore/audio/PlaybackControls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "FakeEngine.h"
#include "TarnCore/audio/AudioPlayer.h"
#include "TarnCore/audio/MicSession.h"

namespace tarn::test {
namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();

TEST(PlaybackControlsTest, HoldAndMapWhatIsSet) {
    const float gains[][3] = {
        {-1, 0, -96},           {0, 0, -96},        {0.0005F, 0.0005F, -96},  {0.001F, 0.001F, -60},
        {0.5F, 0.5F, -6.0206F}, {1, 1, 0},          {2, 2, 6.0206F},          {10, 10, 20},
        {16, 16, 24.0824F},     {40, 16, 24.0824F}, {noNumber, 16, 24.0824F}, {endless, 16, 24.0824F},
        {-endless, 0, -96}};
    for (const auto& [set, stored, decibels] : gains) {
        EXPECT_EQ(clampedGain(set), stored) << set;
        EXPECT_NEAR(globalGain(clampedGain(set)), decibels, 1e-4) << set;
    }
    EXPECT_EQ(globalGain(1), 0.0F);
    const float rates[][2] = {{0.1F, 0.5F}, {0.3F, 0.5F},  {1.25F, 1.25F},  {3, 2},
                              {5, 2},       {noNumber, 2}, {-endless, 0.5F}};
    for (const auto& [set, clamped] : rates) {
        EXPECT_EQ(clampedRate(set), clamped) << set;
    }
}

// Both ends of the dub have the same controls.
template <typename Owner>
void controlsOf(Owner& owner) {
    EXPECT_EQ(owner.rate(), 1);
    EXPECT_EQ(owner.gain(), 1);
    owner.setRate(5);
    EXPECT_EQ(owner.rate(), 2);
    owner.setRate(0.1F);
    EXPECT_EQ(owner.rate(), 0.5F);
    owner.setGain(40);
    EXPECT_EQ(owner.gain(), 16);
    owner.setGain(noNumber);
    EXPECT_EQ(owner.gain(), 16);
    owner.setGain(0.25F);
    EXPECT_EQ(owner.gain(), 0.25F);
}

TEST(PlaybackControlsTest, AreThoseOfPlayerAndMicrophoneSession) {
    AudioPlayer player(std::make_unique<FakeEngine>(std::make_shared<FakeEngine::Script>()));
    controlsOf(player);
    MicSession::Parts parts;
    parts.engine = std::make_unique<FakeEngine>(std::make_shared<FakeEngine::Script>());
    MicSession session(std::move(parts));
    controlsOf(session);
}

}  // namespace
}  // namespace tarn::test
