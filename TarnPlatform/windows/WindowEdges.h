#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <Qt>

namespace tarn {

/// The edges of a window by which it is resized, as plain arithmetic. Units: device-independent pixels.
class WindowEdges {
public:
    static constexpr int grip = 6;     ///< how far an edge reaches into the window
    static constexpr int corner = 16;  ///< how far along an edge its corners reach

    /// The edges under `point` of a window of `size`: none, one, or two at a corner.
    static Qt::Edges at(QPoint point, QSize size);
    static Qt::CursorShape cursor(Qt::Edges edges);
    /// `frame` once its `edges` have been pulled by `distance`: the others stay where they are, and it gets
    /// no smaller than `minimum`.
    static QRect pulled(QRect frame, Qt::Edges edges, QPoint distance, QSize minimum);
};

}  // namespace tarn
