// The delegate around real windows, on a screen that nobody sees: which window is up, and when the program
// ends.
#include "TarnApp/shell/AppDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <cstdlib>
#include <vector>

#include "TarnApp/shell/TarnApp.h"
#include "TarnApp/views/style/PopoverGuard.h"
#include "TarnApp/views/style/QmlModules.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {
namespace {

QGuiApplication& application() {
    static int count = 3;
    static std::string words[] = {"shell_window_test", "-platform", "offscreen"};
    static char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    // Never destroyed: what it calls then is gone by the end of the process.
    static auto* const made = new QGuiApplication(count, arguments);
    return *made;
}

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() {
        QGuiApplication::setQuitOnLastWindowClosed(false);
        registerOnboardingModule();
        engine_.addImportPath("qrc:/qt/qml");
        delegate_ = std::make_unique<AppDelegate>(engine_, world_.vm()->services());
        delegate_->terminate = [this] { ++terminations_; };
        window_.resize(640, 220);
        delegate_->style(&window_);
        window_.show();
        QObject::connect(&window_, &QWindow::visibleChanged,
                         [this](bool visible) { comebacks_ += visible ? 1 : 0; });
    }

    void configure() {
        delegate_->configureOnboarding(world_.model(), coordinator_, language_);
        QCoreApplication::processEvents();
    }
    static QWindow* onboarding() {
        for (QWindow* const window : QGuiApplication::topLevelWindows()) {
            if (window->objectName() == "tarn-onboarding") {
                return window;
            }
        }
        return nullptr;
    }
    static bool onboardingIsUp() { return onboarding() != nullptr && onboarding()->isVisible(); }
    void finishFirstSteps() {
        coordinator_->finish();
        QCoreApplication::processEvents();
    }

    QGuiApplication& application_ = application();
    ViewWorld world_;
    LocalizationManager language_;
    std::shared_ptr<OnboardingCoordinator> coordinator_ = std::make_shared<OnboardingCoordinator>(
        world_.vm()->services().defaults, world_.vm()->services().credentials);
    QQmlEngine engine_;
    QQuickWindow window_;
    std::unique_ptr<AppDelegate> delegate_;
    int terminations_ = 0;
    int comebacks_ = 0;
};

TEST_F(AppDelegateTest, ShowsOnboardingInThePlaceOfTheMainWindowUntilItIsFinished) {
    EXPECT_EQ(delegate_->mainOverlayWindow(), &window_);
    configure();
    EXPECT_TRUE(onboardingIsUp());
    EXPECT_FALSE(window_.isVisible());
    EXPECT_FALSE(delegate_->applicationShouldTerminateAfterLastWindowClosed());
    delegate_->mainWindowClosed();
    EXPECT_EQ(terminations_, 0);

    finishFirstSteps();
    EXPECT_FALSE(onboardingIsUp());
    EXPECT_TRUE(window_.isVisible());
    EXPECT_EQ(comebacks_, 1);
    EXPECT_TRUE(world_.setting("onboarding.done").toBool());
    EXPECT_EQ(world_.setting("onboarding.step"), "ready");
    delegate_->mainWindowClosed();
    EXPECT_EQ(terminations_, 1);

    configure();  // the main view appears again
    EXPECT_FALSE(onboardingIsUp());
}

TEST_F(AppDelegateTest, BringsTheMainWindowBackWhenOnboardingIsClosedAndAsksAgainNextTime) {
    configure();
    onboarding()->close();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window_.isVisible());
    EXPECT_EQ(terminations_, 0);
    EXPECT_TRUE(OnboardingCoordinator(world_.vm()->services().defaults, world_.vm()->services().credentials)
                    .shouldShowOnboarding());
}

TEST_F(AppDelegateTest, ReopensTheOneOnboardingWindowWheneverTheUserAsks) {
    configure();
    finishFirstSteps();
    QWindow* const first = onboarding();
    for (int times = 0; times < 2; ++times) {
        coordinator_->setManuallyReopened(true);
        EXPECT_TRUE(onboardingIsUp());
        EXPECT_FALSE(window_.isVisible());
        EXPECT_EQ(onboarding(), first);
        coordinator_->setManuallyReopened(true);
        onboarding()->close();
        QCoreApplication::processEvents();
        EXPECT_TRUE(window_.isVisible());
        EXPECT_FALSE(coordinator_->manuallyReopened()) << "so that the next request is one";
    }
}

TEST_F(AppDelegateTest, LetsClicksThroughWithNoPopoverInTheirWayUntilTheWindowIsWanted) {
    configure();
    delegate_->setClickThrough(true);
    EXPECT_FALSE(delegate_->overlay()->clickThrough()) << "the first steps are to be answered";
    finishFirstSteps();

    PopoverGuard menu;
    PopoverGuard submenu;
    std::vector<const PopoverGuard*> closed;
    menu.setUp(true);
    submenu.setUp(true);
    for (PopoverGuard* const guard : {&menu, &submenu}) {
        QObject::connect(guard, &PopoverGuard::dismissed, [&closed, guard] {
            closed.push_back(guard);
            guard->setUp(false);
        });
    }
    delegate_->setClickThrough(true);
    EXPECT_THAT(closed, testing::ElementsAre(&submenu, &menu));
    EXPECT_TRUE(delegate_->overlay()->clickThrough());
    delegate_->bringToFront();
    EXPECT_FALSE(delegate_->overlay()->clickThrough());
}

TEST(Preview, IsAskedForByExactlyOne) {
    for (const char* const value : {"", "0", "true", " 1", "1 ", "11"}) {
        setenv("TARN_PREVIEW_ONBOARDING", value, 1);
        EXPECT_FALSE(TarnApp::previewOnboarding()) << value;
    }
    setenv("TARN_PREVIEW_ONBOARDING", "1", 1);
    EXPECT_TRUE(TarnApp::previewOnboarding());
    unsetenv("TARN_PREVIEW_ONBOARDING");
    EXPECT_FALSE(TarnApp::previewOnboarding());
}

}  // namespace
}  // namespace tarn::test
