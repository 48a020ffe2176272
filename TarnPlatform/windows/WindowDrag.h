#pragma once

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <functional>

class QWindow;

namespace tarn {

/// Moves a frameless window by its background and resizes it by its edges. The mouse area behind the window's
/// controls passes its presses to it. The window manager moves and resizes a window that it manages. A window
/// that bypasses it is moved by hand, and a press also gives it the keyboard focus, since nobody else would.
///
/// Points are relative to the window. Thread: main.
class WindowDrag : public QObject {
    Q_OBJECT

public:
    static constexpr int threshold = 4;  ///< pixels that a press may wander before it moves the window

    /// `pointer`: gives the place of the mouse on the screen. Points relative to the window are of no use
    /// while it moves: by the time they arrive the window is elsewhere.
    explicit WindowDrag(std::function<QPoint()> pointer = nullptr, QObject* parent = nullptr);

    void setWindow(QWindow* window);

    Q_INVOKABLE void pressed(QPointF point);
    /// Without a press before it this does nothing.
    Q_INVOKABLE void moved(QPointF point);
    Q_INVOKABLE void released();
    /// The `Qt::CursorShape` that shows what a press at `point` would do.
    Q_INVOKABLE int cursorFor(QPointF point) const;

    /// Whether the window is being moved or resized by hand.
    bool isUnderWay() const { return state_ == State::byHand; }

Q_SIGNALS:
    /// Moving or resizing by hand has ended.
    void ended();

private:
    enum class State { idle, pressed, byHand };

    bool isManaged() const;
    void follow();
    void end();

    const std::function<QPoint()> pointer_;
    QPointer<QWindow> window_;
    State state_ = State::idle;
    QPointF press_;   ///< relative to the window
    QPoint grabbed_;  ///< the same place on the screen
    Qt::Edges edges_;
    QRect frame_;  ///< the window's at the press
};

}  // namespace tarn
