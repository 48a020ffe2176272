#include "PopoverFrame.h"

#include <algorithm>

namespace tarn {

QRectF popoverFrame(const QRectF& anchor, const QRectF& owner, const QSizeF& wanted, const QRectF& screen,
                    qreal gap) {
    const qreal width = std::min(wanted.width(), screen.width());
    const qreal height = std::min(wanted.height(), screen.height());
    const qreal lowest = screen.bottom() - height;
    const qreal below = anchor.bottom() + gap;
    const qreal above = anchor.top() - gap - height;
    const qreal y = below <= lowest ? below : above >= screen.top() ? above : lowest;
    const qreal outOnTheRight = anchor.left() + width - owner.right();
    const qreal outOnTheLeft = owner.left() - (anchor.right() - width);
    const bool endsTogether = outOnTheRight > 0 && outOnTheLeft < outOnTheRight;
    const qreal x = endsTogether ? anchor.right() - width : anchor.left();
    return {std::clamp(x, screen.left(), screen.right() - width), std::clamp(y, screen.top(), lowest), width,
            height};
}

}  // namespace tarn
