#include "WindowOnDemand.h"

#include <QQmlComponent>

#include "TarnPlatform/base/Log.h"

namespace tarn {

std::unique_ptr<QQuickWindow> makeWindow(QQmlEngine& engine, const char* address,
                                         const QVariantMap& properties, const char* whose) {
    QQmlComponent component(&engine, QUrl(QString::fromLatin1(address)));
    // Qt 6.4 crashes where properties are given to a component that could not be loaded.
    auto* const made = component.isReady() ? component.createWithInitialProperties(properties) : nullptr;
    std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(made));
    if (!window) {
        delete made;
        logLine(std::string(whose) +
                " the window cannot be made: " + component.errorString().simplified().toStdString());
        return nullptr;
    }
    QQmlEngine::setObjectOwnership(window.get(), QQmlEngine::CppOwnership);
    return window;
}

WindowOnDemand::WindowOnDemand(QQmlEngine& engine, const char* address)
    : engine_(engine), address_(address) {}

WindowOnDemand::~WindowOnDemand() = default;

void WindowOnDemand::show(const QVariantMap& properties) {
    if (!window_) {
        window_ = makeWindow(engine_, address_, properties, "[tarn]");
    }
    if (window_) {
        window_->show();
        window_->raise();
        window_->requestActivate();
    }
}

}  // namespace tarn
