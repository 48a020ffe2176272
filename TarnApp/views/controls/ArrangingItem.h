#pragma once

#include <QQuickItem>
#include <vector>

namespace tarn {

/// An item that places its visible children by a rule of its own, again whenever one of them comes, goes or
/// changes its implicit size, and whenever its own width changes. Children without a size (a Repeater, say)
/// are left alone. Thread: main.
class ArrangingItem : public QQuickItem {
    Q_OBJECT

public:
    using QQuickItem::QQuickItem;
    ~ArrangingItem() override;

protected:
    /// Places `items` and sets the implicit size.
    virtual void arrange(const std::vector<QQuickItem*>& items) = 0;
    void rearrange() { polish(); }

    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void updatePolish() override { arrangeNow(); }

private:
    void arrangeNow();

    bool isArranging_ = false;
};

}  // namespace tarn
