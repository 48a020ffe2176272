#pragma once

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QQmlComponent>
#include <QQuickItem>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <memory>
#include <utility>

#include "TarnApp/shell/TarnApp.h"
#include "TarnApp/views/style/Appearance.h"
#include "TarnPlatform/windows/FramePlacement.h"
#include "support/Program.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {

inline constexpr QRect usualFrame(340, 300, 640, 220);

struct Style {
    QString language;
    bool dark = false;
    bool highContrast = false;
    QString name() const {
        return language + (dark ? "-dark" : "-light") + (highContrast ? "-high-contrast" : "");
    }
};

inline QColor background(const QString& kind) {
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

/// The whole program on the screen, in one look, before a backdrop, with sessions that are made up.
class Stage {
public:
    explicit Stage(Style style) : style_(std::move(style)) {
        engine_.addImportPath("qrc:/qt/qml");
        world_.renew(true);
        auto& defaults = *world_.vm()->services().defaults;
        defaults.set("onboarding.done", true);
        world_.setLanguage(style_.language);
        auto services = world_.vm()->services();
        services.recordFolder = records_.path();
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
    ~Stage() {
        backdrop_.reset();
        app_.reset();
    }

    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

protected:
    void speak(int index, const QString& source, const QString& translation) {
        pump(20);
        world_.hear(index, source);
        world_.translate(index, translation);
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

    const Style style_;
    const TemporaryFolder records_;
    ViewWorld world_;
    MainWindowLoader loader_;
    BusThread bus_;
    std::unique_ptr<TarnApp> app_;
    QQmlEngine engine_;
    std::unique_ptr<Backdrop> backdrop_;
};

}  // namespace tarn::test
