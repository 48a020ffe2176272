#include "WindowAccessor.h"

#include <QQuickWindow>
#include <utility>

namespace tarn {

WindowAccessor::WindowAccessor(QQuickItem* parent) : QQuickItem(parent) {
    updated();
}

void WindowAccessor::updated() {
    if (std::exchange(isScheduled_, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            isScheduled_ = false;
            if (window() != nullptr) {
                Q_EMIT attach(window());
            }
        },
        Qt::QueuedConnection);
}

void WindowAccessor::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange) {
        disconnect(shown_);
        if (data.window != nullptr) {
            shown_ = connect(data.window, &QWindow::visibleChanged, this, [this](bool visible) {
                if (visible) {
                    updated();
                }
            });
            updated();
        }
    }
    QQuickItem::itemChange(change, data);
}

}  // namespace tarn
