#pragma once

#include <QtQml/qqmlregistration.h>

#include "ArrangingItem.h"

namespace tarn {

/// The rows of a menu, one below the other, all as wide as the widest. Rows give an implicit size and leave
/// their place and size to this.
class MenuColumn : public ArrangingItem {
    Q_OBJECT
    QML_ELEMENT

public:
    using ArrangingItem::ArrangingItem;

protected:
    void arrange(const std::vector<QQuickItem*>& items) override;
};

}  // namespace tarn
