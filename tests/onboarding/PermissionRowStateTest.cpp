// The permission rows' states over a desktop that asks, refuses and changes its mind, with time driven by
// hand.
#include "OnboardingFixture.h"
#include "TarnApp/onboarding/MicPermissionRowState.h"
#include "TarnApp/onboarding/ScreenRecPermissionRowState.h"

namespace tarn::test {
namespace {

using namespace std::chrono_literals;

constexpr auto microphonePage = "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
constexpr auto screenPage = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

/// A screen that can be asked for.
class AskingScreen final : public ScreenCaptureAccess {
public:
    bool preflight() override { return hasAccess; }
    bool request() override {
        hasAccess = hasAccess || requestGivesAccess;
        return requestSaysYes;
    }

    bool hasAccess = false;
    bool requestGivesAccess = false;
    bool requestSaysYes = false;
};

class PermissionRowStateTest : public OnboardingTest {
protected:
    PermissionRowStateTest() {
        auto services = world.vm()->services();
        services.session.screenCapture = screen;
        model = TranslateViewModel::make(std::move(services));
        world.setMicrophoneStatus("notDetermined");
    }

    std::unique_ptr<MicPermissionRowState> makeMic() {
        auto row = std::make_unique<MicPermissionRowState>();
        row->setViewModel(model.get());
        return row;
    }
    std::unique_ptr<ScreenRecPermissionRowState> makeScreen() {
        auto row = std::make_unique<ScreenRecPermissionRowState>();
        row->setViewModel(model.get());
        return row;
    }
    std::size_t callsPending() {
        world.settle();
        return world.sessions().clock->pendingCalls();
    }

    std::shared_ptr<AskingScreen> screen = std::make_shared<AskingScreen>();
    std::shared_ptr<TranslateViewModel> model;
};

TEST_F(PermissionRowStateTest, MicrophoneShowsTheAnswer) {
    struct Case {
        bool allowed;
        const char* statusAfter;
        bool granted;
        bool denied;
    };
    auto& barrier = world.sessions().permissionBarrier;
    for (const auto& [allowed, statusAfter, granted, denied] :
         {Case{true, "authorized", true, false}, Case{false, "restricted", false, true},
          Case{false, "notDetermined", false, false}}) {
        world.setMicrophoneStatus("notDetermined");
        world.setMicrophoneGranted(allowed);
        const auto row = makeMic();
        barrier.isClosed = true;
        row->grant();
        row->grant();
        world.settle();
        EXPECT_TRUE(row->requesting());
        world.setMicrophoneStatus(statusAfter);
        barrier.letOneGo();
        world.settle();
        EXPECT_FALSE(row->requesting());
        EXPECT_EQ(row->granted(), granted) << statusAfter;
        EXPECT_EQ(row->denied(), denied) << statusAfter;
        const auto later = makeMic();
        EXPECT_EQ(later->granted(), granted) << statusAfter;
        EXPECT_EQ(later->denied(), denied) << statusAfter;
        barrier.open();
    }
}

TEST_F(PermissionRowStateTest, MicrophoneSeesThatTheSettingsWereChanged) {
    world.setMicrophoneStatus("denied");
    const auto row = makeMic();
    row->openSettings();
    EXPECT_EQ(world.openedUrls(), QStringList{microphonePage});
    pass(100s);
    EXPECT_TRUE(row->denied());
    world.setMicrophoneStatus("authorized");
    pass(1s);
    EXPECT_TRUE(row->granted());
    EXPECT_FALSE(row->denied());
    EXPECT_EQ(callsPending(), 0U);

    world.setMicrophoneStatus("restricted");
    const auto other = makeMic();
    other->openSettings();
    EXPECT_EQ(world.openedUrls().size(), 1) << "the user cannot change what others forbid";
    pass(60s);
    other->openSettings();
    EXPECT_EQ(callsPending(), 1U) << "two polls at a time";
    pass(119s);
    EXPECT_EQ(callsPending(), 1U);
    pass(1s);
    EXPECT_EQ(callsPending(), 0U) << "two minutes after the last press";
}

TEST_F(PermissionRowStateTest, RowsThatGoAreAskedNoMore) {
    world.setMicrophoneStatus("denied");
    auto& barrier = world.sessions().permissionBarrier;
    barrier.isClosed = true;
    auto mic = makeMic();
    auto asking = makeMic();
    auto row = makeScreen();
    mic->openSettings();
    asking->grant();
    row->grant();
    EXPECT_EQ(callsPending(), 2U);
    mic.reset();
    asking.reset();
    row.reset();
    EXPECT_EQ(callsPending(), 0U);
    barrier.open();
    world.settle();
}

TEST_F(PermissionRowStateTest, ScreenAsksAndElseWaitsForTheSettings) {
    for (const bool says : {true, false}) {
        for (const bool gives : {true, false}) {
            *screen = {};
            world.sessions().openedUrls.clear();
            const auto row = makeScreen();
            EXPECT_EQ(row->phase(), ScreenRecPermissionRowState::idle);
            screen->requestSaysYes = says;
            screen->requestGivesAccess = gives;
            row->grant();
            const bool isGranted = says && gives;
            EXPECT_EQ(row->phase(), isGranted ? ScreenRecPermissionRowState::granted
                                              : ScreenRecPermissionRowState::waiting);
            EXPECT_EQ(world.openedUrls(), isGranted ? QStringList{} : QStringList{screenPage});
        }
    }
}

TEST_F(PermissionRowStateTest, ScreenWaitsWithoutEndWhileItIsSeen) {
    const auto row = makeScreen();
    row->grant();
    row->grant();
    EXPECT_EQ(callsPending(), 1U) << "two polls at a time";
    pass(300s);
    EXPECT_EQ(row->phase(), ScreenRecPermissionRowState::waiting);
    row->disappeared();
    EXPECT_EQ(callsPending(), 0U);
    row->appeared();
    EXPECT_EQ(callsPending(), 1U) << "seen again";
    screen->hasAccess = true;
    pass(1s);
    EXPECT_EQ(row->phase(), ScreenRecPermissionRowState::granted);
    EXPECT_TRUE(row->hasAccess());
    EXPECT_EQ(callsPending(), 0U);
}

TEST_F(PermissionRowStateTest, ScreenThatCannotBeRelaunchedStaysAsItWas) {
    const auto row = makeScreen();
    row->grant();
    row->relaunch();  // nobody knows the program
    EXPECT_EQ(row->phase(), ScreenRecPermissionRowState::waiting);
    screen->hasAccess = true;
    row->relaunch();
    EXPECT_EQ(row->phase(), ScreenRecPermissionRowState::granted) << "nothing to relaunch for";
}

}  // namespace
}  // namespace tarn::test
