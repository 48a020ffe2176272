// The onboarding window as the application uses it, its pages driven by keys and the pointer.
#include "TarnApp/onboarding/OnboardingWindowController.h"

#include <QAccessible>
#include <QQmlEngine>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>

#include "OnboardingFixture.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/style/Appearance.h"

namespace tarn::test {
namespace {

using testing::ElementsAre;

/// The items of a tree that are seen, in the order of the tree.
void collectSeen(QQuickItem* item, std::vector<QQuickItem*>& found) {
    if (!item->isVisible() || item->opacity() == 0) {
        return;
    }
    found.push_back(item);
    for (QQuickItem* const child : item->childItems()) {
        collectSeen(child, found);
    }
}

class OnboardingWindowTest : public OnboardingTest {
protected:
    OnboardingWindowTest() {
        Appearance::shared().setReducedMotion(true);  // the pages change at once
        world.setScreenAllowed(false);
        engine.addImportPath("qrc:/qt/qml");
        QObject::connect(&engine, &QQmlEngine::warnings, [](const QList<QQmlError>& errors) {
            for (const auto& error : errors) {
                ADD_FAILURE() << error.toString().toStdString();
            }
        });
        controller = std::make_unique<OnboardingWindowController>(
            engine, world.model(), coordinator, *Loc::manager, [this](bool done) { closes.push_back(done); });
        // As the application does.
        coordinator->onFinish = [this] {
            controller->didNotifyClose = true;
            controller->onClose(true);
            controller->close();
        };
    }
    ~OnboardingWindowTest() override { Appearance::shared().setReducedMotion(false); }

    QQuickWindow& window() { return *controller->window(); }
    void show() {
        controller->didNotifyClose = false;
        controller->showInFront();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    std::vector<QQuickItem*> seenItems() {
        QCoreApplication::processEvents();
        world.settle();
        window().grabWindow();  // everything in its place
        std::vector<QQuickItem*> seen;
        collectSeen(window().contentItem(), seen);
        return seen;
    }
    /// The item with that text that is seen; null where there is none.
    QQuickItem* find(const QString& text) {
        const auto seen = seenItems();
        const auto at = std::ranges::find_if(
            seen, [&](QQuickItem* item) { return item->property("text").toString() == text; });
        return at == seen.end() ? nullptr : *at;
    }
    bool shows(const QString& text) { return find(text) != nullptr; }
    void press(const QString& text) {
        QQuickItem* const item = find(text);
        ASSERT_NE(item, nullptr) << text.toStdString();
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(&window(), Qt::LeftButton, {}, centre.toPoint());
    }
    void key(Qt::Key which) { QTest::keyClick(&window(), which); }
    void goTo(int page) {
        for (int at = 0; at < page; ++at) {
            key(Qt::Key_Return);
        }
    }

    QQmlEngine engine;
    std::vector<bool> closes;
    std::unique_ptr<OnboardingWindowController> controller;
};

TEST_F(OnboardingWindowTest, IsAnOrdinaryWindowOfOneSizeThatCanBeClosed) {
    EXPECT_FALSE(window().isVisible());
    show();
    EXPECT_EQ(window().objectName(), "tarn-onboarding");
    EXPECT_EQ(window().title(), "Welcome to Tarn");
    EXPECT_EQ(window().size(), QSize(560, 600));
    EXPECT_EQ(window().minimumSize(), window().maximumSize());
    EXPECT_TRUE(window().flags() & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(window().flags() &
                 (Qt::WindowMinMaxButtonsHint | Qt::WindowStaysOnTopHint | Qt::FramelessWindowHint));
    window().setPosition(5, 5);
    window().close();
    show();
    const QPoint middle = window().screen()->availableGeometry().center();
    EXPECT_LT((window().geometry().center() - middle).manhattanLength(), 10) << "a frame's width";
}

TEST_F(OnboardingWindowTest, TellsOnceOfEachShowingHowItEnded) {
    show();
    window().close();
    EXPECT_THAT(closes, ElementsAre(false));
    controller->windowWillClose();
    EXPECT_THAT(closes, ElementsAre(false));
    EXPECT_TRUE(coordinator->shouldShowOnboarding()) << "due at the next start";

    show();
    goTo(4);
    EXPECT_THAT(closes, ElementsAre(false, true));
    EXPECT_FALSE(window().isVisible());
    EXPECT_FALSE(coordinator->shouldShowOnboarding());
}

TEST_F(OnboardingWindowTest, HastyPressesEndOnOnePageAlone) {
    Appearance::shared().setReducedMotion(false);
    show();
    for (const auto* const button : {"Next", "Back", "Next", "Next", "Back", "Back"}) {
        press(button);
    }
    EXPECT_TRUE(QTest::qWaitFor(
        [this] {
            return shows("Dub anything you hear") && !shows("Conversation mode") &&
                   !shows("Sign in to translate");
        },
        20000));
    QQuickItem* const title = find("Dub anything you hear");
    EXPECT_TRUE(QTest::qWaitFor(
        [title] { return title->mapToScene(QPointF(title->width() / 2, 0)).x() == 280; }, 20000));
}

TEST_F(OnboardingWindowTest, ReturnPressesTheControlThatTheKeyboardWasLedTo) {
    show();
    key(Qt::Key_Return);
    key(Qt::Key_Tab);
    ASSERT_EQ(window().activeFocusItem()->property("text").toString(), "Back");
    key(Qt::Key_Return);
    EXPECT_TRUE(shows("Dub anything you hear"));
    key(Qt::Key_Return);
    EXPECT_TRUE(shows("Conversation mode")) << "the button that is gone keeps no keys";
    press("Back");
    press("Next");
    key(Qt::Key_Return);
    EXPECT_TRUE(shows("Sign in to translate")) << "a click leads no keyboard anywhere";
}

TEST_F(OnboardingWindowTest, ReopensOnThePermissionsAndElseWhereItWasLeft) {
    show();
    goTo(1);
    window().close();
    show();
    EXPECT_TRUE(shows("Conversation mode"));
    window().close();
    for (int time = 0; time < 2; ++time) {
        coordinator->setManuallyReopened(true);
        show();
        EXPECT_TRUE(shows("Sound on this computer"));
        window().close();
        EXPECT_FALSE(coordinator->manuallyReopened());
    }
    show();
    press("Back");
    coordinator->setManuallyReopened(true);
    EXPECT_TRUE(shows("Sound on this computer")) << "while it is up";
}

TEST_F(OnboardingWindowTest, SigningInIsReachedWholeInALowWindow) {
    for (const auto& [language, height] : {std::pair("en", 480), {"zhHans", 480}, {"en", 380}}) {
        window().setMinimumHeight(height);
        window().setHeight(height);  // in the last it scrolls
        world.setLanguage(language);
        show();
        goTo(2);
        press(Loc::manager->loginButton());
        press(Loc::manager->loginWhyLink());
        const auto place = [this](const QString& text) {
            QQuickItem* const item = find(text);
            return item == nullptr ? QRectF() : item->mapRectToScene(item->boundingRect());
        };
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                const QRectF gotIt = place(Loc::manager->loginWhyDismiss());
                return !gotIt.isEmpty() && gotIt.top() >= 48 &&
                       gotIt.bottom() < place(Loc::manager->navNext()).top();
            },
            20000));
        press(Loc::manager->loginWhyDismiss());
        EXPECT_FALSE(shows(Loc::manager->loginWhyDismiss()));
        EXPECT_GE(place(Loc::manager->loginTitle()).top(), 48);
        press(Loc::manager->navBack());
        press(Loc::manager->navBack());
        window().close();
    }
}

TEST_F(OnboardingWindowTest, ShowsWhereThePermissionsStand) {
    world.setMicrophoneStatus("denied");
    show();
    goTo(3);
    press("Sound settings");
    press("Check");
    EXPECT_EQ(world.openedUrls().size(), 2);
    EXPECT_TRUE(shows("Relaunch Tarn"));
    EXPECT_FALSE(shows("Ready"));
    world.setMicrophoneStatus("authorized");
    world.setScreenAllowed(true);
    world.pass(1000);
    EXPECT_FALSE(shows("Sound settings"));
    EXPECT_FALSE(shows("Relaunch Tarn"));
    EXPECT_TRUE(shows("Ready"));
    world.setScreenAllowed(false);
    window().close();
    show();
    EXPECT_TRUE(shows("Ready · relaunch"));
    EXPECT_TRUE(shows("Relaunch Tarn"));
}

TEST_F(OnboardingWindowTest, AsksNothingMoreOnceItIsClosed) {
    show();
    goTo(3);
    press("Check");
    world.settle();
    EXPECT_EQ(world.sessions().clock->pendingCalls(), 1U);
    window().close();
    world.settle();
    EXPECT_EQ(world.sessions().clock->pendingCalls(), 0U);
    show();
    world.settle();
    EXPECT_EQ(world.sessions().clock->pendingCalls(), 1U) << "it waits again";
}

/// What is cut off or lies over something else, in every state of every page.
TEST_F(OnboardingWindowTest, NoTextIsCutOffOrCovered) {
    const auto check = [this](const std::string& where) {
        const auto seen = seenItems();
        std::vector<std::pair<QString, QRectF>> texts;
        for (QQuickItem* const item : seen) {
            const QString text = item->property("text").toString();
            if (text.isEmpty() || !item->inherits("QQuickText")) {
                continue;
            }
            EXPECT_FALSE(item->property("truncated").toBool()) << where << text.toStdString();
            const auto place = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
            EXPECT_TRUE(QRectF(0, 0, 560, 600).contains(place)) << where << text.toStdString();
            EXPECT_LE(item->property("contentWidth").toReal(), item->width() + 0.5) << text.toStdString();
            if (text.size() > 1) {  // not a symbol
                texts.emplace_back(text, place.adjusted(1, 1, -1, -1));
            }
        }
        for (std::size_t one = 0; one < texts.size(); ++one) {
            for (std::size_t other = one + 1; other < texts.size(); ++other) {
                EXPECT_FALSE(texts[one].second.intersects(texts[other].second))
                    << where << texts[one].first.toStdString() << " / " << texts[other].first.toStdString();
            }
        }
    };
    for (const QString language : {"en", "zhHans"}) {
        const std::string where = language.toStdString() + ": ";
        world.setLanguage(language);
        world.setMicrophoneStatus("denied");
        world.setScreenAllowed(false);
        coordinator->setIsLoggedIn(false);
        show();
        for (int page = 0; page < 3; ++page) {
            check(where);
            key(Qt::Key_Return);
        }
        check(where);
        press(Loc::manager->permGrant());
        check(where);
        world.setScreenAllowed(true);
        world.pass(1000);
        world.setScreenAllowed(false);
        window().close();
        show();
        check(where);
        press(Loc::manager->navBack());
        press(language == "en" ? "Sign in with your browser" : "在浏览器中登录");
        press(Loc::manager->loginWhyLink());
        check(where);
        Keychain::set(std::string(200, 'a') + "@example.org", Keychain::Account::userEmail);
        press(Loc::manager->loginWhyDismiss());
        press(Loc::manager->navBack());
        press(Loc::manager->navBack());
        window().close();
    }
}

}  // namespace
}  // namespace tarn::test
