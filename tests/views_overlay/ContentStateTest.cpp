// What of the main window is seen, over a real view model in a scripted world whose time the test lets pass.

#include "TarnApp/views/overlay/ContentState.h"

#include <gtest/gtest.h>

#include "support/views/ViewWorld.h"

namespace tarn {
namespace {

class ContentStateTest : public testing::Test {
protected:
    ContentStateTest() {
        state_.setViewModel(world_.vm());
        state_.appeared();
    }

    TranslateViewModel& model() { return *world_.vm(); }
    /// "hovering left background chrome opacity"
    std::string seen() const {
        return std::string(state_.hovering() ? "hovering " : "away ") +
               (state_.hasLeftSinceMiniToggle() ? "left " : "stayed ") +
               (state_.backgroundOpacity() > 0 ? "ground " : "bare ") +
               (state_.showChromeAndDividers() ? "chrome " : "none ") +
               std::to_string(static_cast<int>(100 * state_.chromeOpacity()));
    }

    test::ViewWorld world_;
    ContentState state_;
};

TEST_F(ContentStateTest, DimsThreeSecondsAfterThePointerHasLeftARunningTranslation) {
    EXPECT_EQ(seen(), "hovering left ground chrome 100");
    state_.pointerLeft();
    world_.pass(3100);
    EXPECT_EQ(seen(), "away left ground chrome 100") << "nothing runs";
    state_.pointerEntered();

    model().startAll();
    world_.settle();
    ASSERT_TRUE(model().anyRunning());
    state_.pointerLeft();
    world_.pass(2900);
    EXPECT_EQ(seen(), "hovering left ground chrome 100");
    state_.pointerEntered();
    world_.pass(5000);
    EXPECT_EQ(seen(), "hovering left ground chrome 100") << "back in time";
    state_.pointerLeft();
    world_.pass(2000);
    state_.pointerLeft();
    world_.pass(2000);
    EXPECT_EQ(seen(), "hovering left ground chrome 100") << "one timer, that begins anew";
    world_.pass(1100);
    EXPECT_EQ(seen(), "away left ground chrome 30");
    EXPECT_EQ(state_.headerOpacity(), 0.3);
    model().setMiniMode(true);
    EXPECT_EQ(seen(), "away stayed bare none 0");
    EXPECT_EQ(state_.headerOpacity(), 0.3) << "also in mini mode";
    model().setMiniMode(false);
    model().stopAll();
    world_.settle();
    EXPECT_EQ(seen(), "away left ground chrome 100");
    EXPECT_EQ(state_.headerOpacity(), 1);
}

TEST_F(ContentStateTest, MiniModeHidesAtOnceUntilThePointerHasLeftAndComeBack) {
    model().setMiniMode(true);
    EXPECT_EQ(seen(), "hovering stayed bare none 0") << "though the pointer is over it";
    model().setMiniMode(true);
    state_.pointerEntered();
    EXPECT_EQ(seen(), "hovering stayed bare none 0") << "it has not left";
    state_.pointerLeft();
    EXPECT_EQ(seen(), "away left bare none 0") << "without a delay";
    state_.pointerEntered();
    EXPECT_EQ(seen(), "hovering left ground chrome 100");
    model().setMiniMode(true);
    EXPECT_EQ(seen(), "hovering left ground chrome 100") << "the same value is no change";
    state_.pointerLeft();
    EXPECT_EQ(seen(), "away left bare none 0");
    model().setMiniMode(false);
    EXPECT_EQ(seen(), "away left ground chrome 100");

    ContentState later;
    model().setMiniMode(true);
    later.setViewModel(&model());
    later.appeared();
    EXPECT_TRUE(later.hovering());
    EXPECT_FALSE(later.hasLeftSinceMiniToggle());
}

TEST_F(ContentStateTest, APendingDimDoesNotReachIntoMiniMode) {
    state_.pointerLeft();
    model().setMiniMode(true);
    state_.pointerEntered();
    world_.pass(3100);
    EXPECT_TRUE(state_.hovering());
}

TEST_F(ContentStateTest, AnOpenPopoverHoldsWhatItBelongsTo) {
    model().setMiniMode(true);
    state_.pointerLeft();
    state_.pointerEntered();
    state_.setPopoverOpen(true);
    state_.pointerLeft();
    EXPECT_EQ(seen(), "hovering left ground chrome 100");
    state_.setPopoverOpen(false);
    EXPECT_EQ(seen(), "away left bare none 0") << "the pointer is still outside";

    state_.pointerEntered();
    state_.setPopoverOpen(true);
    state_.pointerLeft();
    state_.pointerEntered();
    state_.setPopoverOpen(false);
    EXPECT_EQ(seen(), "hovering left ground chrome 100");
}

TEST_F(ContentStateTest, GoesAwayWhileATimerIsPending) {
    {
        ContentState brief;
        brief.setViewModel(&model());
        brief.pointerLeft();
        world_.settle();
    }
    world_.pass(3100);
}

}  // namespace
}  // namespace tarn
