#include "FloatingOverlay.h"

#include <QGuiApplication>
#include <QVariant>
#include <QWindow>
#include <utility>

#include "Compositor.h"
#include "StackingWatch.h"
#include "WindowHints.h"

namespace tarn {

FloatingOverlay::FloatingOverlay(const Compositor& compositor, const StackingWatch& stacking, QObject* parent)
    : QObject(parent), compositor_(compositor), stacking_(stacking) {
    connect(&compositor_, &Compositor::changed, this, &FloatingOverlay::applyShape);
    connect(&stacking_, &StackingWatch::changed, this, [this] {
        wantsKeys_ = false;
        // The window may be hidden and wait for a window manager to let go of it that has just gone.
        showAgain();
        applyFlags();
    });
    connect(&stacking_, &StackingWatch::restacked, this, &FloatingOverlay::raise);
    connect(&withdrawal_, &Withdrawal::done, this, &FloatingOverlay::showAgain);
    connect(&drag_, &WindowDrag::ended, this, &FloatingOverlay::applyFlags);
}

void FloatingOverlay::style(QWindow* window, Look look) {
    look_ = look;
    if (window_ != window) {
        follow(window);
    }
    if (window_) {
        window_->setMinimumSize(look_.minimumSize);
        applyFlags();
        applyShape();
    }
}

void FloatingOverlay::setHasBackdrop(bool value) {
    if (hasBackdrop_ != value) {
        hasBackdrop_ = value;
        applyShape();
        Q_EMIT hasBackdropChanged();
    }
}

void FloatingOverlay::setClickThrough(bool value) {
    if (clickThrough_ != value) {
        clickThrough_ = value;
        applyClickThrough();
        Q_EMIT clickThroughChanged();
    }
}

void FloatingOverlay::applyClickThrough() {
    if (window_ && window_->handle() != nullptr) {
        WindowHints::letPointerThrough(*window_, clickThrough_);
    }
}

void FloatingOverlay::follow(QWindow* window) {
    if (window_) {
        window_->disconnect(this);
        window_->removeEventFilter(this);
    }
    window_ = window;
    drag_.setWindow(window);
    isSwitching_ = false;
    if (!window_) {
        return;
    }
    window_->installEventFilter(this);
    connect(window_, &QWindow::widthChanged, this, &FloatingOverlay::applyShape);
    connect(window_, &QWindow::heightChanged, this, &FloatingOverlay::applyShape);
    // Queued, because the signal comes just before the window is mapped, and hints count from then on.
    connect(
        window_, &QWindow::visibleChanged, this,
        [this] {
            if (window_ && window_->isVisible()) {
                WindowHints::showOnEveryDesktop(*window_);
                applyShape();
                if (clickThrough_) {
                    applyClickThrough();
                }
            }
        },
        Qt::QueuedConnection);
}

bool FloatingOverlay::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease) {
        // On the release and not on the press: a window that is hidden in between never gets the release.
        // Queued, because a popover that the click opens shall keep the keyboard focus.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (stacking_.isKeyboardElsewhere() && popovers().isEmpty()) {
                    takeKeyboard();
                }
            },
            Qt::QueuedConnection);
    }
    return false;
}

QList<QWindow*> FloatingOverlay::popovers() const {
    auto windows = QGuiApplication::topLevelWindows();
    windows.removeIf(
        [this](QWindow* other) { return !other->isVisible() || other->transientParent() != window_; });
    return windows;
}

void FloatingOverlay::activate() {
    if (!window_) {
        return;
    }
    if (stacking_.isKeyboardElsewhere()) {
        takeKeyboard();
    }
    window_->setVisible(true);
    window_->raise();
    window_->requestActivate();
}

void FloatingOverlay::takeKeyboard() {
    wantsKeys_ = true;
    applyFlags();
}

// A window that bypasses the window manager (override-redirect) is above full-screen windows under every
// window manager that was tried; no state or type of a managed window is. It pays for that with the keyboard
// focus, which no window manager gives it, so it is unmanaged only while it must be.
Qt::WindowFlags FloatingOverlay::wantedFlags() const {
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    flags.setFlag(Qt::BypassWindowManagerHint, !stacking_.keepsAbove() && !wantsKeys_);
    return flags;
}

void FloatingOverlay::applyFlags() {
    if (!window_ || isSwitching_ || drag_.isUnderWay() || window_->flags() == wantedFlags()) {
        return;
    }
    if (!window_->isVisible()) {
        window_->setFlags(wantedFlags());
        return;
    }
    // A window manager looks at override-redirect only when a window is mapped. So the window is unmapped,
    // and mapped again once the window manager has let go of it, at the same place.
    isSwitching_ = true;
    frame_ = window_->geometry();
    hadFocus_ = window_->isActive();
    window_->setVisible(false);
    if (withdrawal_.await(*window_)) {
        showAgain();
    }
}

void FloatingOverlay::showAgain() {
    if (!std::exchange(isSwitching_, false) || !window_) {
        return;
    }
    const bool takesFocus = hadFocus_ || wantsKeys_;
    window_->setFlags(wantedFlags());
    window_->setGeometry(frame_);
    // Qt activates a window that it shows, unless this property forbids it: the user who types elsewhere
    // keeps the keyboard focus.
    window_->setProperty("_q_showWithoutActivating", !takesFocus);
    window_->setVisible(true);
    window_->setProperty("_q_showWithoutActivating", {});
    if (takesFocus) {
        window_->requestActivate();
    }
    raise();
}

// Nobody else keeps an unmanaged window on top: whenever others are restacked it raises itself, and then its
// popovers, which belong above it.
void FloatingOverlay::raise() {
    if (!window_ || !window_->isVisible() || !(window_->flags() & Qt::BypassWindowManagerHint)) {
        return;
    }
    window_->raise();
    for (QWindow* const popover : popovers()) {
        popover->raise();
    }
}

void FloatingOverlay::applyShape() {
    if (!window_ || window_->handle() == nullptr) {
        return;
    }
    // With a compositor the corners are transparent pixels; without one they would be black.
    WindowHints::cutCorners(*window_, compositor_.isRunning() ? 0 : look_.cornerRadius);
    if (hasBackdrop_) {
        WindowHints::blurBehind(*window_, look_.cornerRadius);
    } else {
        WindowHints::removeBlur(*window_);
    }
}

}  // namespace tarn
