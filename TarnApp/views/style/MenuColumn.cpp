#include "MenuColumn.h"

#include <algorithm>

namespace tarn {

void MenuColumn::arrange(const std::vector<QQuickItem*>& items) {
    qreal widest = 0;
    for (const QQuickItem* const item : items) {
        widest = std::max(widest, item->implicitWidth());
    }
    qreal y = 0;
    for (QQuickItem* const item : items) {
        item->setPosition({0, y});
        item->setSize({std::max(widest, width()), item->implicitHeight()});
        y += item->implicitHeight();
    }
    setImplicitSize(widest, y);
}

}  // namespace tarn
