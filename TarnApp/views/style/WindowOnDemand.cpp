#include "WindowOnDemand.h"

#include <QQmlComponent>

#include "TarnPlatform/base/Log.h"

namespace tarn {

WindowOnDemand::WindowOnDemand(QQmlEngine& engine, const char* address)
    : engine_(engine), address_(address) {}

WindowOnDemand::~WindowOnDemand() = default;

void WindowOnDemand::show(const QVariantMap& properties) {
    if (!window_) {
        QQmlComponent component(&engine_, QUrl(QString::fromLatin1(address_)));
        auto* const made = component.isReady() ? component.createWithInitialProperties(properties) : nullptr;
        window_.reset(qobject_cast<QQuickWindow*>(made));
        if (!window_) {
            delete made;
            logLine("[tarn] a window cannot be made: " + component.errorString().simplified().toStdString());
            return;
        }
        QQmlEngine::setObjectOwnership(window_.get(), QQmlEngine::CppOwnership);
    }
    window_->show();
    window_->raise();
    window_->requestActivate();
}

}  // namespace tarn
