#include "WindowDrag.h"

#include <QCursor>
#include <QWindow>
#include <cmath>
#include <utility>

#include "WindowEdges.h"

namespace tarn {
namespace {

/// The pixel in which a point lies. Rounding would put the far half of the last pixel outside the window.
QPoint inside(QPointF point) {
    return {static_cast<int>(std::floor(point.x())), static_cast<int>(std::floor(point.y()))};
}

}  // namespace

WindowDrag::WindowDrag(std::function<QPoint()> pointer, QObject* parent)
    : QObject(parent), pointer_(pointer ? std::move(pointer) : [] { return QCursor::pos(); }) {}

void WindowDrag::setWindow(QWindow* window) {
    if (window_ != window) {
        end();
        window_ = window;
    }
}

bool WindowDrag::isManaged() const {
    return !(window_->flags() & Qt::BypassWindowManagerHint);
}

void WindowDrag::pressed(QPointF point) {
    end();
    if (!window_) {
        return;
    }
    if (!isManaged()) {
        window_->requestActivate();
    }
    press_ = point;
    grabbed_ = pointer_();
    frame_ = window_->geometry();
    edges_ = WindowEdges::at(inside(point), window_->size());
    if (!edges_) {
        state_ = State::pressed;
    } else if (!isManaged() || !window_->startSystemResize(edges_)) {
        state_ = State::byHand;
    }
}

void WindowDrag::moved(QPointF point) {
    if (state_ == State::idle || !window_) {
        return;
    }
    if (state_ == State::pressed) {
        if ((point - press_).manhattanLength() < threshold) {
            return;
        }
        if (isManaged() && window_->startSystemMove()) {
            state_ = State::idle;
            return;
        }
        state_ = State::byHand;
    }
    follow();
}

void WindowDrag::follow() {
    const QPoint distance = pointer_() - grabbed_;
    if (edges_) {
        window_->setGeometry(WindowEdges::pulled(frame_, edges_, distance, window_->minimumSize()));
    } else {
        window_->setPosition(frame_.topLeft() + distance);
    }
}

void WindowDrag::released() {
    if (state_ == State::byHand && window_) {
        // The pointer may have gone on since the last move.
        follow();
    }
    end();
}

void WindowDrag::end() {
    if (std::exchange(state_, State::idle) == State::byHand) {
        Q_EMIT ended();
    }
}

int WindowDrag::cursorFor(QPointF point) const {
    return window_ ? WindowEdges::cursor(WindowEdges::at(inside(point), window_->size())) : Qt::ArrowCursor;
}

}  // namespace tarn
