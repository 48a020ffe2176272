// The window of what was said, on a screen that nobody sees: what is shown, chosen, copied and saved.
#include <gmock/gmock.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QQuickItem>
#include <QTest>
#include <cstdlib>

#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/record/RecordWindowController.h"
#include "TarnApp/views/style/QmlModules.h"
#include "TarnCore/record/RecordFolder.h"
#include "TarnPlatform/bus/BusThread.h"
#include "support/Program.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

QGuiApplication& application() {
    static int count = 3;
    static std::string words[] = {"views_record_test", "-platform", "offscreen"};
    static char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    ::setenv("QT_QUICK_BACKEND", "software", 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    // Never destroyed: what it calls then is gone by the end of the process.
    static auto* const made = new QGuiApplication(count, arguments);
    return *made;
}

Utterance said(int number, int source = 0) {
    Utterance utterance;
    utterance.source = source;
    utterance.sourceName = source == 0 ? "Zoom" : "Headset";
    utterance.saidAt = Utterance::TimePoint(std::chrono::hours(24 * 365 * 50) + std::chrono::seconds(number));
    utterance.text = "said " + std::to_string(number);
    utterance.translation = "dicho " + std::to_string(number);
    return utterance;
}

class RecordWindowTest : public testing::Test {
protected:
    RecordWindowTest() {
        QGuiApplication::setQuitOnLastWindowClosed(false);
        registerRecordModule();
        engine_.addImportPath("qrc:/qt/qml");
        QObject::connect(&engine_, &QQmlEngine::warnings, [](const QList<QQmlError>& warnings) {
            ADD_FAILURE() << warnings.front().toString().toStdString();
        });
        auto services = world_.vm()->services();
        services.recordFolder = folder_.file("records");
        model_ = TranslateViewModel::make(services);
        world_.useModel(model_);
        controller_ = std::make_unique<RecordWindowController>(engine_, *model_, bus_);
    }
    ~RecordWindowTest() override { controller_.reset(); }

    void open() {
        controller_->show();
        ASSERT_NE(controller_->window(), nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowActive(controller_->window()));
        settle();
    }
    void settle() {
        for (int round = 0; round < 5; ++round) {
            world_.settle();
            QCoreApplication::processEvents();
        }
    }
    template <typename Condition>
    bool until(Condition holds) {
        return QTest::qWaitFor(
            [&] {
                settle();
                return holds();
            },
            10000);
    }
    void add(int from, int count) {
        for (int number = from; number < from + count; ++number) {
            model_->record()->add(said(number, number % 2));
        }
        settle();
    }
    QQuickItem* item(const char* name) const {
        QList<QQuickItem*> all{controller_->window()->contentItem()};
        for (qsizetype i = 0; i < all.size(); ++i) {
            if (all[i]->objectName() == name) {
                return all[i];
            }
            all.append(all[i]->childItems());
        }
        ADD_FAILURE() << "no " << name;
        return nullptr;
    }
    QVariant of(const char* name, const char* property) const { return item(name)->property(property); }
    void click(const char* name) {
        auto* const wanted = item(name);
        QTest::mouseClick(controller_->window(), Qt::LeftButton, {},
                          wanted->mapToScene(wanted->boundingRect().center()).toPoint());
        settle();
    }
    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(controller_->window(), static_cast<Qt::Key>(key), modifiers);
        settle();
    }
    void type(const char* text) {
        for (; *text != 0; ++text) {
            QTest::keyClick(controller_->window(), *text);
        }
        settle();
    }
    bool isAtEnd() {
        return until([&] { return of("list", "atYEnd").toBool(); });
    }
    RecordWindowState& state() const {
        return *controller_->window()->property("record").value<RecordWindowState*>();
    }
    static std::string clipboard() { return QGuiApplication::clipboard()->text().toStdString(); }

    QGuiApplication& application_ = application();
    const TemporaryFolder folder_;
    ViewWorld world_;
    BusThread bus_;
    QQmlEngine engine_;
    std::shared_ptr<TranslateViewModel> model_;
    std::unique_ptr<RecordWindowController> controller_;
};

TEST_F(RecordWindowTest, StaysAtTheEndAndNeverMovesWhatIsBeingRead) {
    open();
    EXPECT_TRUE(of("nothing", "visible").toBool());
    add(0, 60);
    EXPECT_TRUE(isAtEnd());
    EXPECT_FALSE(of("nothing", "visible").toBool());
    add(60, 1);
    EXPECT_TRUE(isAtEnd());
    EXPECT_FALSE(of("jump", "visible").toBool());
    const auto* const heard = QAccessible::queryAccessibleInterface(item("list"));
    ASSERT_NE(heard, nullptr);
    EXPECT_EQ(heard->role(), QAccessible::List);
    EXPECT_TRUE(until([&] {
        QStringList rows;
        for (int row = 0; row < heard->childCount(); ++row) {
            rows.push_back(heard->child(row)->text(QAccessible::Name));
        }
        return rows.contains("00:01:00, Zoom, said 60, dicho 60");
    }));

    item("list")->forceActiveFocus();
    press(Qt::Key_Home);
    const double place = of("list", "contentY").toDouble();
    EXPECT_TRUE(of("jump", "visible").toBool());
    add(61, 30);
    EXPECT_EQ(of("list", "contentY").toDouble(), place);
    EXPECT_FALSE(of("list", "atYEnd").toBool());
    click("jump");
    EXPECT_TRUE(isAtEnd());
    EXPECT_FALSE(of("jump", "visible").toBool());
}

TEST_F(RecordWindowTest, KeysChooseAndCopy) {
    open();
    add(0, 10);
    item("list")->forceActiveFocus();
    press(Qt::Key_End);
    press(Qt::Key_Up);
    press(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(state().selection()->count(), 2);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_THAT(clipboard(), HasSubstr("said 7\ndicho 7\n\n"));
    EXPECT_THAT(clipboard(), HasSubstr("said 8\n"));
    EXPECT_THAT(clipboard(), Not(HasSubstr("said 9")));
    add(10, 1);
    EXPECT_EQ(state().selection()->chosen(), (std::vector{7, 8}));
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(state().selection()->count(), 11);
    press(Qt::Key_Escape);
    EXPECT_EQ(state().selection()->count(), 0);
    click("copy");
    EXPECT_THAT(clipboard(), HasSubstr("said 10\n"));
    press(Qt::Key_Escape);
    EXPECT_FALSE(controller_->window()->isVisible());
}

TEST_F(RecordWindowTest, FindsWhatIsTypedAndOneOfTheSources) {
    open();
    add(0, 20);
    item("search")->forceActiveFocus();
    type("DICHO 1");
    EXPECT_TRUE(until([&] { return of("count", "text") == "11 of 20 sentences"; }));
    state().rows()->toggleSource(1);
    EXPECT_TRUE(until([&] { return of("count", "text") == "6 of 20 sentences"; }));
    world_.setLanguage("zhHans");
    EXPECT_EQ(of("count", "text"), "6 / 20 句");
    world_.setLanguage("en");
    press(Qt::Key_Escape);
    state().rows()->toggleSource(1);
    EXPECT_TRUE(until([&] { return of("count", "text") == "20 sentences"; }));
    type("nowhere");
    EXPECT_TRUE(until([&] { return of("nothing", "visible").toBool(); }));
}

TEST_F(RecordWindowTest, SavesToATypedPathWhereTheDesktopHasNoDialog) {
    open();
    add(0, 4);
    state().selection()->choose(1, Qt::NoModifier);
    state().save("srt", "translation", controller_->window());
    ASSERT_TRUE(until([&] { return of("path", "visible").toBool(); }));
    EXPECT_THAT(of("path", "text").toString().toStdString(), testing::EndsWith(".srt"));
    const std::string there = folder_.write("there.srt", "older");
    const auto saveTo = [&](const std::string& path) {
        item("path")->setProperty("text", QString::fromStdString(path));
        click("saveHere");
    };
    saveTo("relative.srt");
    EXPECT_TRUE(of("path", "visible").toBool());
    saveTo(there);
    EXPECT_EQ(readFile(there), "older");
    saveTo(there);
    ASSERT_TRUE(until([&] { return of("notice", "text").toString().startsWith("Saved: "); }));
    EXPECT_THAT(readFile(there), HasSubstr("dicho 1\n"));
    EXPECT_THAT(readFile(there), Not(HasSubstr("said")));
    EXPECT_THAT(readFile(there), Not(HasSubstr("dicho 2")));

    state().selection()->clear();
    state().save("csv", "both", controller_->window());
    ASSERT_TRUE(until([&] { return of("path", "visible").toBool(); }));
    saveTo(folder_.file("gone/a.csv"));
    EXPECT_TRUE(until([&] { return of("notice", "text").toString().startsWith("Not saved: "); }));
}

TEST_F(RecordWindowTest, ShowsAndDeletesOlderRuns) {
    {
        const RecordFolder folder(folder_.file("records"));
        auto file = folder.begin({said(1).saidAt, {{0, "Lecture", "en", "es"}}});
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->append(std::vector{said(1), said(2)}));
    }
    open();
    add(10, 3);
    ASSERT_TRUE(until([&] { return state().runs().size() == 2; }));
    const auto older = state().runs()[1].toMap();
    EXPECT_THAT(older["label"].toString().toStdString(), HasSubstr("Lecture"));
    state().showRun(older["value"].toString());
    EXPECT_TRUE(until([&] { return of("count", "text") == "2 sentences"; }));
    add(13, 1);
    EXPECT_EQ(of("count", "text"), "2 sentences");
    state().removeRun();
    EXPECT_TRUE(until([&] { return state().runs().size() == 1; }));
    EXPECT_EQ(of("count", "text"), "4 sentences");
}

}  // namespace
}  // namespace tarn::test
