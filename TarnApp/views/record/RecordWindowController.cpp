#include "RecordWindowController.h"

namespace tarn {

RecordWindowController::RecordWindowController(QQmlEngine& engine, TranslateViewModel& vm, BusThread& bus)
    : state_(vm, bus), window_(engine, "qrc:/qt/qml/Tarn/Record/RecordWindow.qml") {
    QQmlEngine::setObjectOwnership(&state_, QQmlEngine::CppOwnership);
}

RecordWindowController::~RecordWindowController() = default;

void RecordWindowController::show() {
    if (window() == nullptr || !window()->isVisible()) {
        state_.keeping()->list();
    }
    window_.show({{"record", QVariant::fromValue(&state_)}});
}

}  // namespace tarn
