#pragma once

#include <QEvent>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QSize>

#include "WindowDrag.h"
#include "Withdrawal.h"

class QWindow;

namespace tarn {

class Compositor;
class StackingWatch;

/// Makes a window the overlay: without a frame, above the others, on every desktop, rounded, with what lies
/// behind it blurred where the desktop can do that. Where the window manager would put something above it, it
/// takes the window out of the window manager's hands until that is over; place, size and keyboard focus
/// stay.
///
/// For that the window is hidden and shown again at once. This waits until the user lets go of it.
///
/// Thread: main. Requires: an application whose windows have an alpha channel
/// (`QQuickWindow::setDefaultAlphaBuffer`), and two watches that outlive this object.
class FloatingOverlay : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarn::WindowDrag* drag READ drag CONSTANT)
    /// Whether the window has a translucent backdrop: what lies behind is blurred then.
    Q_PROPERTY(bool hasBackdrop READ hasBackdrop WRITE setHasBackdrop NOTIFY hasBackdropChanged)
    /// Whether the pointer's clicks go to the windows below. The window itself gets no click then, so whoever
    /// sets this needs another way to unset it.
    Q_PROPERTY(bool clickThrough READ clickThrough WRITE setClickThrough NOTIFY clickThroughChanged)

public:
    struct Look {
        QSize minimumSize;
        int cornerRadius = 0;
    };

    FloatingOverlay(const Compositor& compositor, const StackingWatch& stacking, QObject* parent = nullptr);

    /// May be called any number of times, before and after the window is shown.
    void style(QWindow* window, Look look);
    /// Shows it in front of the others, with the keyboard focus.
    void activate();

    WindowDrag* drag() { return &drag_; }
    bool hasBackdrop() const { return hasBackdrop_; }
    void setHasBackdrop(bool value);
    bool clickThrough() const { return clickThrough_; }
    void setClickThrough(bool value);

Q_SIGNALS:
    void hasBackdropChanged();
    void clickThroughChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(QWindow* window);
    Qt::WindowFlags wantedFlags() const;
    void applyFlags();
    void showAgain();
    void takeKeyboard();
    QList<QWindow*> popovers() const;
    void applyShape();
    void applyClickThrough();
    void raise();

    const Compositor& compositor_;
    const StackingWatch& stacking_;
    WindowDrag drag_;
    QPointer<QWindow> window_;
    Look look_;
    bool hasBackdrop_ = true;
    bool clickThrough_ = false;
    Withdrawal withdrawal_;
    bool isSwitching_ = false;  ///< hidden, to be shown again managed or unmanaged
    bool hadFocus_ = false;     ///< whether it had the keyboard focus when it was hidden for that
    QRect frame_;               ///< at that time
    bool wantsKeys_ = false;    ///< clicked where only the window manager can give it the keyboard focus
};

}  // namespace tarn
