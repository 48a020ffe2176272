#include "RecordWindowController.h"

#include <QQmlComponent>

#include "TarnPlatform/base/Log.h"

namespace tarn {

RecordWindowController::RecordWindowController(QQmlEngine& engine, TranslateViewModel& vm, BusThread& bus)
    : engine_(engine), vm_(vm), bus_(bus) {}

RecordWindowController::~RecordWindowController() = default;

void RecordWindowController::show() {
    if (!window_) {
        state_ = std::make_unique<RecordWindowState>(vm_, bus_);
        QQmlEngine::setObjectOwnership(state_.get(), QQmlEngine::CppOwnership);
        QQmlComponent component(&engine_, QUrl(QStringLiteral("qrc:/qt/qml/Tarn/Record/RecordWindow.qml")));
        auto* const made =
            component.isReady()
                ? component.createWithInitialProperties({{"record", QVariant::fromValue(state_.get())}})
                : nullptr;
        window_.reset(qobject_cast<QQuickWindow*>(made));
        if (!window_) {
            delete made;
            logLine("[record] the window cannot be made: " +
                    component.errorString().simplified().toStdString());
            return;
        }
        QQmlEngine::setObjectOwnership(window_.get(), QQmlEngine::CppOwnership);
    } else if (!window_->isVisible()) {
        state_->keeping()->list();
    }
    window_->show();
    window_->raise();
    window_->requestActivate();
}

}  // namespace tarn
