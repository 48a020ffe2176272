#pragma once

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <functional>

class QWindow;

namespace tarn {

/// Moves a frameless window by its background and resizes it by its edges, for the mouse area behind its
/// controls to tell of presses. The window manager does it where it manages the window; where the window
/// bypasses it, a press also takes the keyboard, which nobody else would give to such a window.
///
/// Points are relative to the window. Thread: main.
class WindowDrag : public QObject {
    Q_OBJECT

public:
    static constexpr int threshold = 4;  ///< pixels that a press may wander before it moves the window

    /// `pointer`: where the mouse is on the screen. The window moves under it, so that points relative to the
    /// window say where it was some time ago.
    explicit WindowDrag(std::function<QPoint()> pointer = nullptr, QObject* parent = nullptr);

    void setWindow(QWindow* window);

    Q_INVOKABLE void pressed(QPointF point);
    /// Also without a press: nothing then.
    Q_INVOKABLE void moved(QPointF point);
    Q_INVOKABLE void released();
    /// A `Qt::CursorShape`: what a press at `point` would do.
    Q_INVOKABLE int cursorFor(QPointF point) const;

    /// Whether we move or resize the window by hand just now.
    bool isUnderWay() const { return state_ == State::byHand; }

Q_SIGNALS:
    /// What was under way by hand is over.
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
