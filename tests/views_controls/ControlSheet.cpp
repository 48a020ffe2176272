// Shows a QML file with the interface's modules over a scripted world, to be looked at and pressed by hand or
// by a script: control_sheet FILE.qml [light].
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QTimer>

#include "TarnApp/views/style/Appearance.h"
#include "TarnApp/views/style/QmlModules.h"
#include "support/views/ViewWorld.h"

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QQuickWindow::setDefaultAlphaBuffer(true);
    const auto arguments = QGuiApplication::arguments();
    tarn::Appearance::shared().setDark(!arguments.contains("light"));
    tarn::registerControlsModule();
    tarn::test::ViewWorld world;
    world.setLanguage(arguments.contains("zh") ? "zhHans" : "en");
    QQmlApplicationEngine engine;
    engine.addImportPath("qrc:/qt/qml");
    engine.rootContext()->setContextProperty("world", &world);
    engine.load(QUrl::fromLocalFile(arguments.value(1)));
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&world] { world.settle(); });
    turns.start(100);
    return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
