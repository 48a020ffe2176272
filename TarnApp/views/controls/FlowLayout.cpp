#include "FlowLayout.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tarn {

std::vector<FlowLayout::Row> FlowLayout::rows(std::span<const QSizeF> sizes, qreal available, qreal spacing) {
    std::vector<Row> rows;
    Row current;
    for (std::size_t index = 0; index < sizes.size(); ++index) {
        const QSizeF size = sizes[index];
        if (!current.items.empty() && available < spacing + current.width + size.width()) {
            rows.push_back(std::exchange(current, {}));
        }
        current.width += (current.items.empty() ? 0 : spacing) + size.width();
        current.height = std::max(current.height, size.height());
        current.items.push_back({index, size});
    }
    if (!current.items.empty()) {
        rows.push_back(std::move(current));
    }
    return rows;
}

QSizeF FlowLayout::sizeThatFits(std::span<const Row> rows, qreal available, qreal lineSpacing) {
    QSizeF size(0, rows.empty() ? 0 : lineSpacing * static_cast<qreal>(rows.size() - 1));
    for (const Row& row : rows) {
        size.setWidth(std::max(size.width(), row.width));
        size.setHeight(size.height() + row.height);
    }
    size.setWidth(std::min(size.width(), available));
    return size;
}

void FlowLayout::arrange(const std::vector<QQuickItem*>& items) {
    std::vector<QSizeF> sizes;
    sizes.reserve(items.size());
    for (const QQuickItem* const item : items) {
        sizes.emplace_back(item->implicitWidth(), item->implicitHeight());
    }
    const qreal available = widthValid() ? width() : std::numeric_limits<qreal>::infinity();
    const auto placed = rows(sizes, available, spacing_);
    qreal y = 0;
    for (const Row& row : placed) {
        qreal x = 0;
        for (const Row::Item& item : row.items) {
            items[item.index]->setPosition({x, y});
            items[item.index]->setSize(item.size);
            x += item.size.width() + spacing_;
        }
        y += row.height + lineSpacing_;
    }
    const QSizeF size = sizeThatFits(placed, available, lineSpacing_);
    setImplicitSize(size.width(), size.height());
}

void FlowLayout::set(qreal& field, qreal value) {
    if (std::exchange(field, value) != value) {
        rearrange();
        Q_EMIT spacingChanged();
    }
}

}  // namespace tarn
