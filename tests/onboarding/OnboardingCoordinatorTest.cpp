// The coordinator and the pages' order, over settings and a keychain of the test's own.
#include "TarnApp/onboarding/OnboardingCoordinator.h"

#include "OnboardingFixture.h"
#include "TarnApp/onboarding/LoginSlideState.h"
#include "TarnApp/onboarding/OnboardingViewState.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/session/URLSchemeHandler.h"

namespace tarn::test {
namespace {

using testing::ElementsAre;

class OnboardingCoordinatorTest : public OnboardingTest {
protected:
    OnboardingCoordinatorTest() { pages.setCoordinator(coordinator.get()); }

    std::shared_ptr<Credentials> credentials() { return world.vm()->services().credentials; }

    OnboardingViewState pages;
};

TEST_F(OnboardingCoordinatorTest, StartsFromWhetherItWasEverDone) {
    struct Case {
        std::function<void(UserDefaults&)> store;
        OnboardingStep step;
    };
    const std::vector<Case> cases{
        {[](UserDefaults&) {}, OnboardingStep::running},
        {[](UserDefaults& kept) { kept.set("onboarding.step", "ready"); }, OnboardingStep::running},
        {[](UserDefaults& kept) { kept.set("onboarding.done", false); }, OnboardingStep::running},
        {[](UserDefaults& kept) { kept.set("onboarding.done", "yes"); }, OnboardingStep::running},
        {[](UserDefaults& kept) { kept.set("onboarding.done", true); }, OnboardingStep::ready},
        {[](UserDefaults& kept) {
             kept.set("onboarding.done", true);
             kept.set("onboarding.step", "running");
         },
         OnboardingStep::ready},
    };
    for (const auto& [store, step] : cases) {
        const auto defaults = UserDefaults::inMemory();
        store(*defaults);
        const OnboardingCoordinator made(defaults, credentials());
        EXPECT_EQ(made.step(), step);
        EXPECT_EQ(defaults->string("onboarding.step"), rawValue(step));
        EXPECT_EQ(made.shouldShowOnboarding(), step == OnboardingStep::running);
    }
}

TEST_F(OnboardingCoordinatorTest, FinishesInItsOrder) {
    std::vector<std::string> order;
    const auto note = [&](const std::string& what) {
        order.push_back(what + ": done " + setting("onboarding.done") + ", step " +
                        setting("onboarding.step"));
    };
    QObject::connect(coordinator.get(), &OnboardingCoordinator::manuallyReopenedChanged,
                     [&] { note("reopened " + std::to_string(coordinator->manuallyReopened())); });
    QObject::connect(coordinator.get(), &OnboardingCoordinator::stepChanged, [&] { note("step"); });
    coordinator->onFinish = [&] { note("finish"); };
    coordinator->setManuallyReopened(true);
    pages.finish();
    EXPECT_THAT(order, ElementsAre("reopened 1: done , step running", "reopened 0: done true, step running",
                                   "step: done true, step ready", "finish: done true, step ready"));
    EXPECT_FALSE(OnboardingCoordinator(world.sessions().defaults, credentials()).shouldShowOnboarding());
    pages.finish();
    EXPECT_EQ(order.back(), "finish: done true, step ready");
}

TEST_F(OnboardingCoordinatorTest, SignInReachesThePageThatWaits) {
    LoginSlideState login;
    login.setViewModel(world.vm());
    login.setCoordinator(coordinator.get());
    URLSchemeHandler links;
    links.credentials = credentials();
    links.viewModel = world.model();
    links.onboarding = coordinator;

    world.setHasBrowser(false);
    login.signIn();
    EXPECT_FALSE(login.waiting()) << "nothing can come";
    EXPECT_EQ(world.vm()->property("signInAddress"), "https://tarn.example/site/auth?return_to=macos");
    world.setHasBrowser(true);
    login.signIn();
    EXPECT_EQ(world.vm()->property("signInAddress"), "");
    login.leave();
    EXPECT_FALSE(login.waiting());
    login.signIn();
    EXPECT_TRUE(login.waiting());
    EXPECT_EQ(world.openedUrls(), QStringList(3, "https://tarn.example/site/auth?return_to=macos"));
    links.handle("tarn://login?token=t");
    EXPECT_TRUE(login.isLoggedIn());
    EXPECT_EQ(login.email(), "") << "not known yet";
    links.handle("tarn://login?token=t&user_email=bo%40example.org");
    world.settle();
    EXPECT_EQ(login.email(), "ada@example.org") << "what the server says, not the link";
    links.handle("tarn://logout");
    EXPECT_FALSE(login.isLoggedIn());
    EXPECT_EQ(login.email(), "");

    world.settle();
    Keychain::set("another", Keychain::Account::pat);
    coordinator->recompute();
    world.settle();
    EXPECT_TRUE(login.isLoggedIn());
}

}  // namespace
}  // namespace tarn::test
