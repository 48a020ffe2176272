#include "ArrangingItem.h"

#include <utility>

namespace tarn {

// The children outlive this part of their parent, and send signals when they leave it.
ArrangingItem::~ArrangingItem() {
    for (const QQuickItem* const child : childItems()) {
        disconnect(child, nullptr, this, nullptr);
    }
}

void ArrangingItem::componentComplete() {
    QQuickItem::componentComplete();
    // Not left to the next polish, since the implicit size may be read in the same turn.
    arrangeNow();
}

void ArrangingItem::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemChildAddedChange) {
        connect(data.item, &QQuickItem::implicitWidthChanged, this, [this] { rearrange(); });
        connect(data.item, &QQuickItem::implicitHeightChanged, this, [this] { rearrange(); });
        connect(data.item, &QQuickItem::visibleChanged, this, [this] { rearrange(); });
        rearrange();
    } else if (change == ItemChildRemovedChange) {
        disconnect(data.item, nullptr, this, nullptr);
        rearrange();
    }
    QQuickItem::itemChange(change, data);
}

void ArrangingItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.width() != oldGeometry.width() && isComponentComplete()) {
        arrangeNow();
    }
}

void ArrangingItem::arrangeNow() {
    if (std::exchange(isArranging_, true)) {
        rearrange();
        return;
    }
    std::vector<QQuickItem*> items;
    for (QQuickItem* const child : childItems()) {
        if (child->isVisible() || !isVisible()) {
            if (child->implicitWidth() > 0 || child->implicitHeight() > 0) {
                items.push_back(child);
            }
        }
    }
    arrange(items);
    isArranging_ = false;
}

}  // namespace tarn
