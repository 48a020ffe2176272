// Pictures of everything that there is to see, on the screen and under the window manager and the compositor
// that run: gallery FOLDER [contrast] [high-contrast] [brief]. In both languages, light and dark. "contrast"
// measures the text on the panel over white and over black instead, and subtitles without it, from pictures
// too; "high-contrast" is what a desktop may ask for; "brief" takes only what scales of the screen could
// spoil, in English and dark. Windows that leave the screen and warnings of QML
// are told of, and are the exit status.
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QQmlComponent>
#include <QQuickItem>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include "TarnApp/shell/Fonts.h"
#include "TarnApp/shell/TarnApp.h"
#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/style/Appearance.h"
#include "TarnPlatform/windows/FramePlacement.h"
#include "support/views/ViewWorld.h"

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

constexpr QRect usualFrame(340, 300, 640, 220);
constexpr QRect wideFrame(20, 260, 1440, 240);

struct Style {
    QString language;
    bool dark = false;
    bool highContrast = false;
    QString name() const {
        return language + (dark ? "-dark" : "-light") + (highContrast ? "-high-contrast" : "");
    }
};

QColor background(const QString& kind) {
    return kind == "white"   ? QColor(Qt::white)
           : kind == "black" ? QColor(Qt::black)
                             : QColor(0x5a, 0x77, 0x8c);
}

/// What lies behind the window: one colour, or a picture with light and dark places.
class Backdrop : public QQuickWindow {
public:
    explicit Backdrop(QQmlEngine& engine) {
        // Not the window manager's, which would put what fills the screen above everything.
        setFlags(Qt::Window | Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus);
        setGeometry(screen()->geometry());
        QQmlComponent picture(&engine);
        picture.setData(R"(
            import QtQuick
            Rectangle {
                gradient: Gradient {
                    GradientStop { position: 0; color: "#d7e6f2" }
                    GradientStop { position: 0.55; color: "#f2ede4" }
                    GradientStop { position: 0.56; color: "#5d7a52" }
                    GradientStop { position: 1; color: "#2d4429" }
                }
                Repeater {
                    model: 14
                    Rectangle {
                        required property int index
                        x: parent.width * ((index * 37) % 100) / 100
                        y: parent.height * (0.25 + 0.5 * ((index * 53) % 100) / 100)
                        width: 40 + (index * 71) % 160
                        height: width * 0.8
                        radius: width / 2
                        color: ["#c0392b", "#f4d35e", "#1d3557", "#ffffff", "#0d0d0d"][index % 5]
                        opacity: 0.75
                    }
                }
            })",
                        {});
        picture_.reset(qobject_cast<QQuickItem*>(picture.create()));
        picture_->setParentItem(contentItem());
        picture_->setSize(size());
        show("picture");
        QQuickWindow::show();
        lower();
    }
    void show(const QString& kind) {
        setColor(background(kind));
        picture_->setVisible(kind == "picture");
    }

private:
    std::unique_ptr<QQuickItem> picture_;
};

class Gallery {
public:
    Gallery(QString folder, Style style) : folder_(std::move(folder)), style_(std::move(style)) {
        engine_.addImportPath("qrc:/qt/qml");
        world_.renew(true);
        auto& defaults = *world_.vm()->services().defaults;
        defaults.set("onboarding.done", true);
        world_.setLanguage(style_.language);
        auto services = world_.vm()->services();
        app_ = std::make_unique<TarnApp>(services, bus_, loader_);
        world_.useModel(app_->viewModel());
        app_->open();
        Appearance::shared().setDark(style_.dark);
        Appearance::shared().setHighContrast(style_.highContrast);
        window().setGeometry(onScreen(usualFrame));
        backdrop_ = std::make_unique<Backdrop>(engine_);
        window().raise();
        pump(600);
    }
    ~Gallery() {
        backdrop_.reset();
        app_.reset();
    }

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

    void measureContrast() {
        world_.setLanguage("en");
        vm().startAll();
        speak(0, "Source", "Translation");
        for (const char* const kind : {"white", "black"}) {
            backdrop_->show(kind);
            pump(600);
            const QImage screen = grab();
            // The panel where nothing is on it: in the middle, near its lower edge.
            const QRect frame = window().geometry();
            const auto scale = window().screen()->devicePixelRatio();
            const QColor panel =
                screen.pixelColor((QPointF(frame.center().x(), frame.bottom() - 12) * scale).toPoint());
            std::printf("%-5s over %-5s panel %s:", style_.dark ? "dark" : "light", kind,
                        panel.name().toUtf8().data());
            for (const char* const role :
                 {"primaryText", "secondaryText", "red", "orange", "success", "accent"}) {
                std::printf("  %s %.2f", role, contrast(themeColor(role), panel));
            }
            std::printf("\n");
        }
    }

    /// Letters and markers of mini mode against what is within three points of them, over what may lie
    /// behind.
    void measureSubtitles() {
        vm().setMiniMode(true);
        measureSubtitles("placeholder");
        vm().startAll();
        speak(0, "Good morning, everybody. Shall we begin?", "早上好，各位。我们开始好吗？");
        measureSubtitles("text");
        vm().stopAll();
        vm().setMiniMode(false);
    }

private:
    void measureSubtitles(const char* what) {
        for (const char* const kind : {"white", "black", "picture"}) {
            backdrop_->show(kind);
            for (const char* const name : {"source", "translation"}) {
                QQuickItem* const line = itemNamed(name);
                QQuickItem* const subtitle = line->property("subtitle").value<QQuickItem*>();
                measureSetOff(QString("%1 of %2").arg(what, name), kind, *line,
                              subtitle->property("edit").value<QQuickItem*>());
                measureSetOff(QString("marker of %1").arg(name), kind, *line,
                              line->findChild<QQuickItem*>("marker"));
            }
        }
    }
    /// `letters` are found by what changes with their colour.
    void measureSetOff(const QString& what, const char* kind, const QQuickItem& line, QQuickItem* letters) {
        const QVariant color = letters->property("color");
        pump(600);
        const QImage shown = grab();
        letters->setProperty("color", QColor(Qt::black));
        pump(600);
        const QImage black = grab();
        letters->setProperty("color", color);
        const qreal scale = window().screen()->devicePixelRatio();
        const QRect part = QRectF(line.mapToGlobal({-8, -8}) * scale, (line.size() + QSizeF(16, 16)) * scale)
                               .toRect()
                               .intersected(shown.rect());
        const auto change = [&](int x, int y) { return qRed(shown.pixel(x, y)) - qRed(black.pixel(x, y)); };
        const auto far = static_cast<int>(std::lround(3 * scale));
        int most = 0;
        for (int y = part.top(); y < part.bottom(); ++y) {
            for (int x = part.left(); x < part.right(); ++x) {
                most = std::max(most, change(x, y));
            }
        }
        double light = 0;
        int count = 0;
        std::vector<double> around;
        for (int y = part.top() + far; y < part.bottom() - far; ++y) {
            for (int x = part.left() + far; x < part.right() - far; ++x) {
                if (change(x, y) * 10 > most * 9) {
                    light += luminance(shown.pixelColor(x, y));
                    ++count;
                } else if (change(x, y) == 0) {
                    bool isNear = false;
                    for (int dy = -far; dy <= far; ++dy) {
                        for (int dx = -far; dx <= far; ++dx) {
                            isNear = isNear || change(x + dx, y + dy) * 10 > most * 9;
                        }
                    }
                    if (isNear) {
                        around.push_back(luminance(shown.pixelColor(x, y)));
                    }
                }
            }
        }
        std::ranges::sort(around);
        const double mean = std::accumulate(around.begin(), around.end(), 0.0) /
                            std::max(static_cast<double>(around.size()), 1.0);
        const double lightest = around.empty() ? 1 : around[around.size() * 95 / 100];
        std::printf("%-26s over %-7s: %.1f to 1; against the lightest 5 %% around %.1f (%d pixels)\n",
                    what.toUtf8().data(), kind, (light / count + 0.05) / (mean + 0.05),
                    (light / count + 0.05) / (lightest + 0.05), count);
    }

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
        world_.connection(0, "answering");
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
    }

    /// Notices in each way in which they lie, and a long name in the narrowest columns.
    void notices() {
        world_.connection(0, "slow");
        world_.fail(1, "The service is busy: translation was interrupted, and will go on by itself");
        world_.connection(1, "stalled");
        const auto last = vm().sessions().back();
        last->setCaptureSource(CaptureSource::application);
        last->setApplicationName("A very long name of a player of films, and of music as well");
        last->setSourceLang("pt");
        last->setTargetLang("vi");
        vm().showToast("Signed in as ada@example.org");
        picture("conversation-notices");
        world_.connection(0, "answering");
        world_.connection(1, "answering");
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
    void speak(int index, const QString& source, const QString& translation) {
        pump(20);
        world_.hear(index, source);
        world_.translate(index, translation);
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

    QRect onScreen(const QRect& frame) const {
        const QRect screen = window().screen()->availableGeometry();
        return FramePlacement::onScreens(frame, {&screen, 1}, window().minimumSize());
    }

    QImage grab() const { return window().screen()->grabWindow(0).toImage(); }

    void pump(int milliseconds) {
        QElapsedTimer time;
        time.start();
        do {
            world_.settle();
            QTest::qWait(10);
        } while (time.elapsed() < milliseconds);
    }

    QColor themeColor(const char* role) {
        QQmlComponent component(&engine_);
        component.setData(
            QByteArray("import QtQuick\nimport Tarn.Style\nQtObject { property color shown: Theme.") + role +
                " }",
            {});
        const std::unique_ptr<QObject> holder(component.create());
        return holder->property("shown").value<QColor>();
    }
    static double luminance(const QColor& color) {
        const auto linear = [](double part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    }
    static double contrast(const QColor& one, const QColor& other) {
        const double a = luminance(one);
        const double b = luminance(other);
        return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
    }

    static QList<QQuickItem*> itemsOf(const QQuickWindow& window) {
        QList<QQuickItem*> all{window.contentItem()};
        for (qsizetype i = 0; i < all.size(); ++i) {
            all.append(all[i]->childItems());
        }
        return all;
    }
    QQuickItem* itemNamed(const char* name) const {
        const auto all = itemsOf(window());
        const auto found = std::ranges::find(all, QString(name), &QObject::objectName);
        return found == all.end() ? nullptr : *found;
    }
    static QQuickWindow* windowNamed(const char* name) {
        for (QWindow* const window : QGuiApplication::topLevelWindows()) {
            if (window->objectName() == name) {
                return qobject_cast<QQuickWindow*>(window);
            }
        }
        return nullptr;
    }
    QQuickWindow& window() const { return *app_->mainWindow(); }
    TranslateViewModel& vm() const { return *app_->viewModel(); }

    const QString folder_;
    const Style style_;
    ViewWorld world_;
    MainWindowLoader loader_;
    BusThread bus_;
    std::unique_ptr<TarnApp> app_;
    QQmlEngine engine_;
    std::unique_ptr<Backdrop> backdrop_;
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
        std::fprintf(stderr, "usage: gallery FOLDER [contrast] [high-contrast] [brief]\n");
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
            tarn::test::Gallery gallery(words[1], {language, dark, words.contains("high-contrast")});
            if (measures) {
                gallery.measureSubtitles();
                gallery.measureContrast();
            } else if (isBrief) {
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
