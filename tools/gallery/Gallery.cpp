// Pictures of everything that there is to see, on the screen and under the window manager and the compositor
// that run: gallery FOLDER [contrast] [high-contrast] [brief] [record] [look]. In both languages, light and
// dark. "contrast" measures the text on the panel over white and over black instead, and subtitles without
// it, from pictures too; "high-contrast" is what a desktop may ask for; "brief" takes only what scales of the
// screen could spoil, in English and dark; "record" only the window of what was said, "look" only the look of
// subtitles. Windows that leave the screen and warnings of QML are printed, and make the exit status 1.
#include <QTest>
#include <cstdio>
#include <functional>

#include "Contrast.h"
#include "LookPictures.h"
#include "RecordPictures.h"
#include "TarnApp/shell/Fonts.h"
#include "TarnApp/views/model/ViewTypes.h"

namespace tarn::test {
namespace {

int warningsOfQml = 0;
QtMessageHandler printMessage = nullptr;

void countAndPrint(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtDebugMsg && type != QtInfoMsg && text.contains(".qml:")) {
        ++warningsOfQml;
    }
    printMessage(type, context, text);
}

constexpr QRect wideFrame(20, 260, 1440, 240);

class Gallery : public Stage {
public:
    Gallery(QString folder, Style style) : Stage(std::move(style)), folder_(std::move(folder)) {}

    void takeAll() {
        picture("solo-idle");
        vm().startAll();
        speak(0, "Good morning, everybody. Shall we begin with the second chapter?",
              "早上好，各位。我们从第二章开始，好吗？");
        world_.level(0, 0.08);
        picture("solo-running");
        running();
        vm().stopAll();
        pump(100);
        onboarding();
        conversation();
        notices();
        changeAll();
    }

    void takeBrief() {
        picture("solo-idle");
        vm().startAll();
        speak(0, "Good morning, everybody. Shall we begin with the second chapter?",
              "早上好，各位。我们从第二章开始，好吗？");
        world_.level(0, 0.08);
        popover("helpFont", "popover-size");
        popover("account", "popover-account");
        gap();
        open("popover-language", [](const QQuickItem& item) {
            return QString(item.metaObject()->className()).startsWith("LangPicker");
        });
        vm().setTier2Expanded(true);
        window().setGeometry(onScreen({340, 300, 640, 300}));
        picture("translation-settings");
        vm().setTier2Expanded(false);
        vm().stopAll();
        pump(100);
        onboarding();
        conversation();
        notices();
        changeAll();
    }
    int windowsOffScreen() const { return windowsOffScreen_; }

private:
    void running() {
        vm().setTier2Expanded(true);
        window().setGeometry(QRect(340, 300, 640, 300));
        picture("translation-settings");
        vm().setTier2Expanded(false);
        window().setGeometry(usualFrame);
        popover("helpPlayback", "popover-playback");
        popover("helpFont", "popover-size");
        popover("account", "popover-account");
        popover("systemAudioAll", "popover-source");
        open("popover-language", [](const QQuickItem& item) {
            return QString(item.metaObject()->className()).startsWith("LangPicker");
        });
        for (const double scale : {0.6, 3.0}) {
            vm().setSubtitleScale(scale);
            picture(scale < 1 ? "scale-0.6" : "scale-3.0");
        }
        vm().setSubtitleScale(1.4);
        vm().setMiniMode(true);
        picture("mini-hovered");
        leave();
        for (const char* const kind : {"white", "black", "picture"}) {
            backdrop_->show(kind);
            picture(QString("mini-over-") + kind);
        }
        world_.connection(0, "lost");
        picture("mini-health");
        vm().setMiniMode(false);
        vm().setSubtitleScale(1);
        picture("health");
        for (const char* const state : {"resuming", "catchingUp", "standIn"}) {
            world_.connection(0, state);
            picture(QString("connection-") + state);
        }
        world_.connection(0, "answering");
        gap();
        world_.fail(0,
                    "The service is busy: translation was interrupted, and will go on by itself in a moment");
        picture("error-chip");
        world_.setScreenAllowed(false);
        vm().setScreenRecNeededEvent(true);
        picture("screen-recording-notice");
        vm().setScreenRecNeededEvent(false);
        world_.setScreenAllowed(true);
        vm().showToast("Signed in as ada@example.org");
        picture("toast");
    }

    /// Sound that was never translated, among the subtitles.
    void gap() {
        speak(0, "Good morning, everybody. Shall we begin with the sec", "早上好，各位。我们从");
        world_.miss(0, 80);
        picture("gap");
        speak(0, "Good morning, everybody. Shall we begin with the second chapter?",
              "早上好，各位。我们从第二章开始，好吗？");
    }

    void conversation() {
        vm().setMode(AppMode::conversation);
        vm().addSession();
        vm().addSession();
        window().setGeometry(onScreen(wideFrame));
        const auto& all = vm().sessions();
        const char* const sources[] = {"en", "ja", "ar", "hi"};
        const char* const targets[] = {"zh", "en", "ru", "th"};
        for (std::size_t i = 0; i < all.size(); ++i) {
            all[i]->setSourceLang(sources[i]);
            all[i]->setTargetLang(targets[i]);
        }
        pump(100);
        world_.pass(5000);  // a change of language starts again what runs, and the notice of before goes
        vm().startAll();
        pump(50);
        speak(0, "Could you repeat that, please?", "请您再说一遍，好吗？");
        speak(1, "資料は明日までにお送りします。", "I will send you the documents by tomorrow.");
        speak(2, "أين تقع أقرب محطة قطار؟", "Где находится ближайшая железнодорожная станция?");
        speak(3, "आपसे मिलकर बहुत खुशी हुई।", "ยินดีที่ได้รู้จักคุณมาก");
        for (int i = 0; i < 4; ++i) {
            world_.level(i, 0.02 * (i + 1) * (i + 1));
        }
        picture("conversation");
        popover("helpPlayback", "popover-playback-conversation");
    }

    /// Notices in each way in which they lie, and a long name in the narrowest columns.
    void notices() {
        world_.connection(0, "slow");
        world_.fail(1, "The service is busy: translation was interrupted, and will go on by itself");
        world_.connection(1, "stalled");
        world_.connection(2, "resuming");
        world_.miss(3, 80);
        const auto last = vm().sessions().back();
        last->setCaptureSource(CaptureSource::application);
        last->setApplicationName("A very long name of a player of films, and of music as well");
        last->setSourceLang("pt");
        last->setTargetLang("vi");
        vm().showToast("Signed in as ada@example.org");
        picture("conversation-notices");
        world_.connection(0, "catchingUp");
        world_.connection(1, "answering");
        world_.connection(2, "standIn");
        picture("conversation-stand-in");
        world_.connection(0, "answering");
        world_.connection(2, "answering");
        world_.pass(5000);
    }

    /// Changes under open popovers, and the end of sources.
    void changeAll() {
        for (const CaptureSource source : {CaptureSource::mic, CaptureSource::application}) {
            vm().sessions().front()->setCaptureSource(source);
            pump(50);
            const bool isMic = source == CaptureSource::mic;
            open(
                isMic ? "popover-microphones" : "popover-applications",
                [&](const QQuickItem& item) { return item.objectName() == "source"; },
                [&] {
                    world_.setLanguage(style_.language == "en" ? "zhHans" : "en");
                    Appearance::shared().setDark(!style_.dark);
                    vm().setSubtitleScale(1.5);
                    pump(100);
                    world_.setLanguage(style_.language);
                    Appearance::shared().setDark(style_.dark);
                    vm().setSubtitleScale(1);
                });
        }
        vm().setTier2Expanded(true);
        vm().setMiniMode(true);
        vm().removeSession(vm().sessions()[1].get());
        pump(400);
        vm().setMiniMode(false);
        vm().setMode(AppMode::solo);
        pump(400);
    }

    void onboarding() {
        auto coordinator = qvariant_cast<QObject*>(window().property("onboarding"));
        coordinator->setProperty("manuallyReopened", true);
        pump(700);
        QQuickWindow* const welcome = windowNamed("tarn-onboarding");
        for (int page = 4; welcome != nullptr && page >= 1; --page) {
            picture(QString("onboarding-%1").arg(page));
            if (page == 3) {
                coordinator->setProperty("isLoggedIn", false);
                picture("onboarding-3-signed-out");
                lowSignIn(*welcome);
                coordinator->setProperty("isLoggedIn", true);
            }
            click(*welcome,
                  [](const QQuickItem& item) { return item.property("text") == Loc::manager->navBack(); });
            pump(500);
        }
        if (welcome != nullptr) {
            welcome->close();
        }
        pump(300);
    }

    void lowSignIn(QQuickWindow& welcome) {
        const int usual = welcome.height();
        for (const int height : {usual, 552, 480}) {  // 552: on a screen of 600
            welcome.setMinimumHeight(height);
            welcome.setMaximumHeight(height);
            welcome.setHeight(height);
            pump(100);
            if (height == usual) {
                for (const QString& label : {Loc::manager->loginButton(), Loc::manager->loginWhyLink()}) {
                    click(welcome, [&](const QQuickItem& item) { return item.property("text") == label; });
                    pump(100);
                }
            }
            picture(QString("onboarding-3-why-%1").arg(height));
        }
        click(welcome, [](const QQuickItem& item) {
            return item.property("text") == Loc::manager->loginWhyDismiss();
        });
        welcome.setMaximumHeight(usual);
        welcome.setMinimumHeight(usual);
        welcome.setHeight(usual);
    }

    /// Opens the popover of the control with that tooltip, and closes it.
    void popover(const char* key, const QString& name) {
        const auto help = Loc::manager->property(key);
        open(name, [&](const QQuickItem& item) { return item.property("help") == help; });
    }
    void open(
        const QString& name, const std::function<bool(const QQuickItem&)>& isIt,
        const std::function<void()>& meanwhile = [] {}) {
        if (!click(window(), isIt)) {
            std::printf("nothing opens %s\n", name.toUtf8().data());
            return;
        }
        picture(name);
        meanwhile();
        for (QWindow* const other : QGuiApplication::topLevelWindows()) {
            if (other->isVisible() && other->transientParent() == &window()) {
                other->close();
            }
        }
        pump(200);
    }
    bool click(QQuickWindow& in, const std::function<bool(const QQuickItem&)>& isIt) {
        for (QQuickItem* const item : itemsOf(in)) {
            if (item->isVisible() && item->property("pressed").isValid() && isIt(*item)) {
                QTest::mouseClick(&in, Qt::LeftButton, {},
                                  item->mapToScene(item->boundingRect().center()).toPoint());
                return true;
            }
        }
        return false;
    }

    /// As the pointer does.
    void leave() {
        const auto* const content = window().property("content").value<QObject*>();
        QMetaObject::invokeMethod(content->property("contentState").value<QObject*>(), "pointerLeft");
    }
    void picture(const QString& name) {
        pump(600);
        QImage image = grab();
        QRect around;
        for (QWindow* const other : QGuiApplication::topLevelWindows()) {
            if (other->isVisible() && other != backdrop_.get()) {
                around = around.united(other->frameGeometry());
                if (!other->screen()->geometry().contains(other->frameGeometry())) {
                    const QRect at = other->frameGeometry();
                    std::printf("%s: a window of %dx%d at %d,%d leaves the screen\n", name.toUtf8().data(),
                                at.width(), at.height(), at.x(), at.y());
                    ++windowsOffScreen_;
                }
            }
        }
        const auto margin = 24;
        const auto scale = window().screen()->devicePixelRatio();
        const QRectF part = around.adjusted(-margin, -margin, margin, margin);
        image = image.copy(
            QRectF(part.topLeft() * scale, part.size() * scale).toRect().intersected(image.rect()));
        image.save(folder_ + "/" + name + "-" + style_.name() + ".png");
    }

    const QString folder_;
    int windowsOffScreen_ = 0;
};

}  // namespace
}  // namespace tarn::test

int main(int argc, char** argv) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    const QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    tarn::Fonts::choose();
    tarn::test::printMessage = qInstallMessageHandler(tarn::test::countAndPrint);
    const QStringList words = QGuiApplication::arguments();
    if (words.size() < 2) {
        std::fprintf(stderr, "usage: gallery FOLDER [contrast] [high-contrast] [brief] [record] [look]\n");
        return 2;
    }
    const bool measures = words.contains("contrast");
    const bool isBrief = words.contains("brief");
    int off = 0;
    for (const QString& language : {QString("en"), QString("zhHans")}) {
        for (const bool dark : {false, true}) {
            if ((language != "en" && (measures || isBrief)) || (isBrief && !dark)) {
                continue;
            }
            const tarn::test::Style style{language, dark, words.contains("high-contrast")};
            if (measures) {
                tarn::test::Contrast contrast(style);
                contrast.measureSubtitles();
                contrast.measurePanel();
                continue;
            }
            const bool isPart = words.contains("record") || words.contains("look");
            if (words.contains("record") || !(isPart || isBrief)) {
                tarn::test::RecordPictures(words[1], style).takeAll();
            }
            if (words.contains("look") || !(isPart || isBrief)) {
                tarn::test::LookPictures(words[1], style).takeAll();
            }
            if (isPart) {
                continue;
            }
            tarn::test::Gallery gallery(words[1], style);
            if (isBrief) {
                gallery.takeBrief();
            } else {
                gallery.takeAll();
            }
            off += gallery.windowsOffScreen();
        }
    }
    std::printf("%d warnings of QML\n", tarn::test::warningsOfQml);
    return off == 0 && tarn::test::warningsOfQml == 0 ? 0 : 1;
}
