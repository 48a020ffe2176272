#pragma once

#include <QRectF>
#include <QSizeF>

namespace tarn {

/// Where a popover of size `wanted` goes: `gap` below its anchor, else above it, else over it, and always
/// inside `screen`, smaller than wanted only where the screen is. All in the window system's coordinates.
QRectF popoverFrame(const QRectF& anchor, const QSizeF& wanted, const QRectF& screen, qreal gap);

}  // namespace tarn
