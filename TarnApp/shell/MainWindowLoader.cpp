#include "MainWindowLoader.h"

#include <QEventLoop>

#include "Module.h"
#include "TarnApp/onboarding/Module.h"
#include "TarnApp/views/overlay/Module.h"
#include "TarnPlatform/logging/Log.h"

namespace tarn {

MainWindowLoader::MainWindowLoader() {
    registerOverlayModule();
    registerOnboardingModule();
    registerShellModule();
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    component_ = std::make_unique<QQmlComponent>(
        &engine_, QUrl(QStringLiteral("qrc:/qt/qml/Tarn/Shell/MainWindow.qml")), QQmlComponent::Asynchronous);
}

std::unique_ptr<QQuickWindow> MainWindowLoader::make(const QVariantMap& properties) {
    if (component_->isLoading()) {
        QEventLoop loaded;
        QObject::connect(component_.get(), &QQmlComponent::statusChanged, &loaded, &QEventLoop::quit);
        loaded.exec();
    }
    QObject* const made =
        component_->isReady() ? component_->createWithInitialProperties(properties) : nullptr;
    auto* const window = qobject_cast<QQuickWindow*>(made);
    if (window == nullptr) {
        delete made;
        logLine("[tarn] the window cannot be made: " + component_->errorString().simplified().toStdString());
    }
    return std::unique_ptr<QQuickWindow>(window);
}

}  // namespace tarn
