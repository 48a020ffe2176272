// The overlay's window alone, or with "--cover COLOUR" an ordinary window of another program, and with
// "--full-screen COLOUR" one that covers the screen.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QSurfaceFormat>

#include "TarnPlatform/base/MainThread.h"
#include "TarnPlatform/windows/Compositor.h"
#include "TarnPlatform/windows/FloatingOverlay.h"
#include "TarnPlatform/windows/StackingWatch.h"
#include "TarnPlatform/windows/WindowFrame.h"

namespace {

int cover(const QString& colour, bool fullScreen) {
    QQuickWindow window;
    window.setTitle(QStringLiteral("cover"));
    window.setColor(QColor(colour));
    window.setGeometry(window.screen()->geometry().adjusted(40, 40, -40, -40));
    if (fullScreen) {
        window.showFullScreen();
    } else {
        window.show();
    }
    window.requestActivate();
    return QGuiApplication::exec();
}

int overlay() {
    const tarn::MainThread main;
    const tarn::Compositor compositor;
    const tarn::StackingWatch stacking;
    tarn::FloatingOverlay floating(compositor, stacking);
    tarn::WindowFrame frame("probe", tarn::UserDefaults::standard(), main.executor(), tarn::Clock::system());
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("overlay"), QVariant::fromValue<QObject*>(&floating)}});
    engine.load(QUrl(QStringLiteral("qrc:/probe/OverlayProbe.qml")));
    if (engine.rootObjects().isEmpty()) {
        return 1;
    }
    auto* const window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    floating.style(window, {.minimumSize = QSize(480, 140), .cornerRadius = 12});
    frame.attach(window);
    window->show();
    return QGuiApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    const QGuiApplication application(argc, argv);
    const auto arguments = QGuiApplication::arguments();
    if (arguments.size() == 3) {
        return cover(arguments[2], arguments[1] == QLatin1String("--full-screen"));
    }
    return overlay();
}
