#include "MainWindowLoader.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QQuickItem>

#include "TarnApp/views/style/QmlModules.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {

MainWindowLoader::MainWindowLoader() {
    registerOverlayModule();
    registerOnboardingModule();
    registerRecordModule();
    registerLookModule();
    registerElsewhereModule();
    registerShellModule();
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    const auto load = [this](const char* address) {
        return std::make_unique<QQmlComponent>(&engine_, QUrl(QString::fromLatin1(address)),
                                               QQmlComponent::Asynchronous);
    };
    window_ = load("qrc:/qt/qml/Tarn/Shell/MainWindow.qml");
    content_ = load("qrc:/qt/qml/Tarn/Shell/MainContent.qml");
}

void MainWindowLoader::goOn() {
    QCoreApplication::sendPostedEvents();
}

void MainWindowLoader::await(const QQmlComponent& component) {
    if (component.isLoading()) {
        QEventLoop loaded;
        QObject::connect(&component, &QQmlComponent::statusChanged, &loaded, &QEventLoop::quit);
        loaded.exec();
    }
}

std::unique_ptr<QQuickWindow> MainWindowLoader::make(const QVariantMap& properties) {
    await(*window_);
    await(*content_);  // so that the first frame of the window is complete
    QObject* const made = window_->isReady() ? window_->createWithInitialProperties(properties) : nullptr;
    auto* const window = qobject_cast<QQuickWindow*>(made);
    if (window == nullptr) {
        delete made;
        logLine("[tarn] the window cannot be made: " + window_->errorString().simplified().toStdString());
    }
    return std::unique_ptr<QQuickWindow>(window);
}

bool MainWindowLoader::fill(QQuickWindow& window) {
    QMetaObject::invokeMethod(&window, "fill");
    if (window.property("content").value<QQuickItem*>() == nullptr) {
        logLine("[tarn] the views cannot be made: " + content_->errorString().simplified().toStdString());
        return false;
    }
    return true;
}

}  // namespace tarn
