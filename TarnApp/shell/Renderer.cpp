#include "Renderer.h"

#include <QQuickWindow>
#include <QSGRendererInterface>
#include <cstdlib>
#include <string>

#include "TarnPlatform/base/Log.h"

namespace tarn {

void Renderer::choose() {
    // Windows that are made before this call cannot be translucent.
    QQuickWindow::setDefaultAlphaBuffer(true);
    if (std::getenv("QT_QUICK_BACKEND") != nullptr) {
        return;
    }
    const char* const asked = std::getenv("TARN_RENDERER");
    const std::string wanted = asked != nullptr ? asked : "";
    if (wanted == "gl") {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
        return;
    }
    if (!wanted.empty() && wanted != "software") {
        logLine("[tarn] TARN_RENDERER is neither software nor gl: software it is");
    }
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

}  // namespace tarn
