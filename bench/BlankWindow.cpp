// The peer of the program's window: what the toolkit needs for an empty window with one label of its own
// controls.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <cstdlib>
#include <string_view>

int main(int argc, char** argv) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    const char* const renderer = std::getenv("TARN_RENDERER");
    QQuickWindow::setGraphicsApi(renderer != nullptr && std::string_view(renderer) == "gl"
                                     ? QSGRendererInterface::OpenGL
                                     : QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    QQuickStyle::setStyle("Basic");
    QQmlApplicationEngine engine;
    engine.loadData(R"(
        import QtQuick
        import QtQuick.Controls
        ApplicationWindow { width: 640; height: 220; visible: true; title: "Blank"; Label { text: "Blank" } }
    )");
    return QGuiApplication::exec();
}
