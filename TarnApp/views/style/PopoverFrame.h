#pragma once

#include <QRectF>
#include <QSizeF>

namespace tarn {

/// Where a popover of size `wanted` goes: `gap` below its anchor, else above it, else over it; with the
/// anchor's left edge, or with its right one where it stands less out of `owner`, the window of the anchor,
/// so; and always inside `screen`, smaller than wanted only where the screen is. All in the window system's
/// coordinates.
QRectF popoverFrame(const QRectF& anchor, const QRectF& owner, const QSizeF& wanted, const QRectF& screen,
                    qreal gap);

}  // namespace tarn
