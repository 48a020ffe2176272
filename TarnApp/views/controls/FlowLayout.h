#pragma once

#include <QtQml/qqmlregistration.h>
#include <QSizeF>
#include <span>
#include <vector>

#include "ArrangingItem.h"

namespace tarn {

/// Places its items in rows, like words in lines: left to right at their implicit sizes, and in a new row
/// where the width is used up. Its implicit width is that of all of them in the rows that its width leaves,
/// its implicit height that of those rows. Distances in points. Thread: main.
class FlowLayout : public ArrangingItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal spacing READ spacing WRITE setSpacing NOTIFY spacingChanged)              ///< in a row
    Q_PROPERTY(qreal lineSpacing READ lineSpacing WRITE setLineSpacing NOTIFY spacingChanged)  ///< of rows

public:
    struct Row {
        struct Item {
            std::size_t index;
            QSizeF size;
        };
        std::vector<Item> items;
        qreal width = 0;
        qreal height = 0;
    };

    using ArrangingItem::ArrangingItem;

    /// An item wider than `available` is alone in its row.
    static std::vector<Row> rows(std::span<const QSizeF> sizes, qreal available, qreal spacing);
    /// No wider than `available`; zero high without rows.
    static QSizeF sizeThatFits(std::span<const Row> rows, qreal available, qreal lineSpacing);

    qreal spacing() const { return spacing_; }
    void setSpacing(qreal value) { set(spacing_, value); }
    qreal lineSpacing() const { return lineSpacing_; }
    void setLineSpacing(qreal value) { set(lineSpacing_, value); }

Q_SIGNALS:
    void spacingChanged();

protected:
    void arrange(const std::vector<QQuickItem*>& items) override;

private:
    void set(qreal& field, qreal value);

    qreal spacing_ = 0;
    qreal lineSpacing_ = 0;
};

}  // namespace tarn
