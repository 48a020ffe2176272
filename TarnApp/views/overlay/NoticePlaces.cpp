#include "NoticePlaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "TarnApp/views/controls/FlowLayout.h"

namespace tarn {

NoticePlaces::NoticePlaces(QObject* parent) : QObject(parent) {
    connect(this, &NoticePlaces::wishesChanged, this, &NoticePlaces::update);
}

NoticePlaces::Places NoticePlaces::places(const QRectF& beside, const QRectF& below,
                                          std::span<const QSizeF> wanted) {
    Places places{std::vector<QRectF>(wanted.size())};
    std::vector<std::size_t> lower;
    std::vector<QSizeF> lowerSizes;
    qreal x = beside.left();
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const QSizeF size = wanted[i];
        const qreal room = beside.right() - x;
        if (size.width() <= 0) {
            continue;
        }
        if (room >= std::min(leastBeside, size.width())) {
            const qreal width = std::min(size.width(), room);
            places.notices[i] = {x, std::round(beside.center().y() - size.height() / 2), width,
                                 size.height()};
            x += width + spacing;
        } else {
            lower.push_back(i);
            lowerSizes.emplace_back(std::min(size.width(), below.width()), size.height());
        }
    }
    for (const auto& row : FlowLayout::rows(lowerSizes, below.width(), spacing)) {
        qreal left = below.left();
        for (const auto& item : row.items) {
            places.notices[lower[item.index]] = {{left, below.top() + places.heightBelow}, item.size};
            left += item.size.width() + spacing;
        }
        places.heightBelow += row.height + lineSpacing;
    }
    return places;
}

void NoticePlaces::update() {
    const std::array wanted{error_, health_};
    auto now = places(beside_, below_, wanted);
    if (std::exchange(places_, now) != now) {
        Q_EMIT placesChanged();
    }
}

}  // namespace tarn
