#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRectF>
#include <QSizeF>
#include <memory>

namespace tarn {

/// Where a popover of size `wanted` goes: `gap` below its anchor, else above it, else over it; with the
/// anchor's left edge, or with its right one where it stands less out of `owner`, the window of the anchor,
/// so; and always inside `screen`, smaller than wanted only where the screen is. All in the window system's
/// coordinates.
QRectF popoverFrame(const QRectF& anchor, const QRectF& owner, const QSizeF& wanted, const QRectF& screen,
                    qreal gap);

/// What a popover's window cannot know by itself: where it goes, and that somebody pressed elsewhere in this
/// program. While it is up, at most one chain of popovers is open: one that opens closes those that it does
/// not belong to. Thread: main.
class PopoverGuard : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow* window MEMBER window_)  ///< the popover itself
    Q_PROPERTY(QQuickItem* anchor READ anchor WRITE setAnchor NOTIFY anchorChanged)
    Q_PROPERTY(bool up READ isUp WRITE setUp NOTIFY upChanged)
    /// Whether the pointer has moved since it is up. Until then what lies under the pointer was not pointed
    /// at.
    Q_PROPERTY(bool pointerMoved READ pointerMoved NOTIFY pointerMovedChanged)

public:
    using QObject::QObject;
    ~PopoverGuard() override;

    QQuickItem* anchor() const { return anchor_; }
    void setAnchor(QQuickItem* value);
    bool isUp() const { return up_; }
    void setUp(bool value);
    bool pointerMoved() const { return pointerMoved_; }

    /// For a popover of this size; empty without an anchor in a window.
    Q_INVOKABLE QRectF frame(qreal width, qreal height, qreal gap) const;
    /// The item below `root` that gets the keys first: the one that says it is `chosen`, else the first in
    /// the order of Tab; null where there is none.
    Q_INVOKABLE static QQuickItem* firstItem(QQuickItem* root);

    /// Of all popovers of the program.
    static bool anyUp();
    /// Asks all of them to close, the front one first.
    static void dismissAll();

    bool eventFilter(QObject* receiver, QEvent* event) override;

Q_SIGNALS:
    void anchorChanged();
    void upChanged();
    void pointerMovedChanged();
    /// The popover should close. `byKey`: the user pressed Escape. `keysReturn`: to the anchor's window, and
    /// not to another one that was pressed.
    void dismissed(bool byKey, bool keysReturn);

private:
    bool belongsToUs(const QWindow* window) const;
    bool isOnAnchor(const QWindow* window, QEvent* event) const;
    void setPointerMoved(bool value);
    void anchorMayBeGone();
    void followSurroundings(const QWindow& window);

    QPointer<QQuickWindow> window_;
    QPointer<QQuickItem> anchor_;
    QPointF pointerAtStart_;
    bool up_ = false;
    bool pointerMoved_ = false;
    std::unique_ptr<QObject> surroundings_;  ///< lives while it is up; what it hears of them
};

/// Whether a popover is open anywhere in the program, as the QML singleton `Popovers`. Thread: main.
class Popovers : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool anyOpen READ anyOpen NOTIFY anyOpenChanged)

public:
    static Popovers& shared();
    static Popovers* create(QQmlEngine*, QJSEngine*);
    static bool anyOpen() { return PopoverGuard::anyUp(); }

Q_SIGNALS:
    void anyOpenChanged();

private:
    Popovers() = default;
};

}  // namespace tarn
