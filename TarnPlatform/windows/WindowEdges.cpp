#include "WindowEdges.h"

#include <algorithm>

namespace tarn {

Qt::Edges WindowEdges::at(QPoint point, QSize size) {
    if (!QRect(QPoint(0, 0), size).contains(point)) {
        return {};
    }
    const int left = point.x();
    const int right = size.width() - 1 - left;
    const int top = point.y();
    const int bottom = size.height() - 1 - top;
    // An edge is thin, but its corners reach further along both sides, since a corner is hard to hit.
    const bool onSide = std::min(left, right) < grip;
    const bool onLid = std::min(top, bottom) < grip;
    Qt::Edges edges;
    if (onSide || (onLid && std::min(left, right) < corner)) {
        edges |= left <= right ? Qt::LeftEdge : Qt::RightEdge;
    }
    if (onLid || (onSide && std::min(top, bottom) < corner)) {
        edges |= top <= bottom ? Qt::TopEdge : Qt::BottomEdge;
    }
    return edges;
}

Qt::CursorShape WindowEdges::cursor(Qt::Edges edges) {
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge)) {
        return Qt::SizeFDiagCursor;
    }
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge)) {
        return Qt::SizeBDiagCursor;
    }
    if (edges & (Qt::LeftEdge | Qt::RightEdge)) {
        return Qt::SizeHorCursor;
    }
    return edges ? Qt::SizeVerCursor : Qt::ArrowCursor;
}

QRect WindowEdges::pulled(QRect frame, Qt::Edges edges, QPoint distance, QSize minimum) {
    // Edges as coordinates, where QRect's own right and bottom are one pixel short.
    int left = frame.x();
    int top = frame.y();
    int right = left + frame.width();
    int bottom = top + frame.height();
    if (edges & Qt::LeftEdge) {
        left = std::min(left + distance.x(), right - minimum.width());
    }
    if (edges & Qt::RightEdge) {
        right = std::max(right + distance.x(), left + minimum.width());
    }
    if (edges & Qt::TopEdge) {
        top = std::min(top + distance.y(), bottom - minimum.height());
    }
    if (edges & Qt::BottomEdge) {
        bottom = std::max(bottom + distance.y(), top + minimum.height());
    }
    return {left, top, right - left, bottom - top};
}

}  // namespace tarn
