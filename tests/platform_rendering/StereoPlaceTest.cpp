// One channel between two loudspeakers: how loud each is, and how it comes there.
#include "TarnPlatform/rendering/StereoPlace.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Playback.h"

namespace tarn {
namespace {

struct Frame {
    float left;
    float right;
    float mean;
};

std::vector<Frame> render(StereoPlace& place, const std::vector<float>& mono, std::size_t block = 240) {
    std::vector<Frame> frames;
    for (auto rest = std::span(mono); !rest.empty();) {
        const auto piece = rest.first(std::min(block, rest.size()));
        rest = rest.subspan(piece.size());
        std::vector<float> mean(piece.begin(), piece.end());
        std::vector<float> stereo(2 * mean.size());
        place.renderRt(mean, stereo);
        for (std::size_t i = 0; i < mean.size(); ++i) {
            frames.push_back({stereo[2 * i], stereo[2 * i + 1], mean[i]});
        }
    }
    return frames;
}

TEST(StereoPlace, HasTheSamePowerEverywhereAndChangesNothingInTheMiddle) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const auto input = test::tone(300, test::playbackRate, 0.1);
    const struct {
        float place;
        float left;
        float right;
    } cases[] = {{0, 1, 1},
                 {-1, 1.4142F, 0},
                 {1, 0, 1.4142F},
                 {-0.7F, 1.3751F, 0.3301F},
                 {0.35F, 0.6910F, 1.2339F},
                 {9, 0, 1.4142F},
                 {nan, 1, 1}};
    for (const auto& [place, left, right] : cases) {
        SCOPED_TRACE(place);
        StereoPlace placer;
        placer.setPlace(place);
        const auto placed = render(placer, input, 100);
        for (std::size_t i = 0; i < input.size(); ++i) {
            ASSERT_NEAR(placed[i].left, input[i] * left, 1e-4);
            ASSERT_NEAR(placed[i].right, input[i] * right, 1e-4);
            ASSERT_EQ(placed[i].mean, (placed[i].left + placed[i].right) / 2);
            if (left == right) {
                ASSERT_EQ(placed[i].left, input[i]);
                ASSERT_EQ(placed[i].right, input[i]);
            }
        }
    }
}

TEST(StereoPlace, GlidesToAnotherPlaceAndArrivesExactly) {
    StereoPlace placer;
    const std::vector<float> steady(2400, 0.5F);
    float left = render(placer, steady).back().left;
    for (const float place : {-0.7F, 0.7F, -1.0F, 0.0F}) {
        placer.setPlace(place);
        for (const Frame& frame : render(placer, steady, 37)) {
            ASSERT_LT(std::abs(frame.left - left), 0.001F) << place;
            left = frame.left;
        }
        StereoPlace there;
        there.setPlace(place);
        EXPECT_EQ(left, render(there, steady).back().left);
    }
    EXPECT_EQ(left, 0.5F);
}

TEST(StereoPlace, StaysWithinFullScaleInItsPlace) {
    StereoPlace placer;
    placer.setPlace(-0.7F);
    const auto placed = render(placer, test::tone(300, test::playbackRate, 0.5, 1));
    EXPECT_NEAR(std::ranges::max(placed, {}, &Frame::left).left, 1, 0.01);
    for (const Frame& frame : placed) {
        ASSERT_LE(std::abs(frame.left), 1);
        ASSERT_NEAR(frame.right, frame.left * 0.24F, 1e-3);
    }
}

}  // namespace
}  // namespace tarn
