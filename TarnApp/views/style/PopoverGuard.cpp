#include "PopoverGuard.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlEngine>
#include <QScreen>
#include <algorithm>
#include <ranges>
#include <utility>
#include <vector>

namespace tarn {
namespace {

/// The guards whose popovers are open, the front one last.
std::vector<PopoverGuard*>& guardsUp() {
    static std::vector<PopoverGuard*> guards;
    return guards;
}

QQuickItem* chosenItem(QQuickItem* root) {
    for (QQuickItem* const child : root->childItems()) {
        if (!child->isVisible() || !child->isEnabled()) {
            continue;
        }
        if (child->activeFocusOnTab() && child->property("chosen").toBool()) {
            return child;
        }
        if (QQuickItem* const below = chosenItem(child)) {
            return below;
        }
    }
    return nullptr;
}

}  // namespace

QRectF popoverFrame(const QRectF& anchor, const QRectF& owner, const QSizeF& wanted, const QRectF& screen,
                    qreal gap) {
    const qreal width = std::min(wanted.width(), screen.width());
    const qreal height = std::min(wanted.height(), screen.height());
    const qreal lowest = screen.bottom() - height;
    const qreal below = anchor.bottom() + gap;
    const qreal above = anchor.top() - gap - height;
    const qreal y = below <= lowest ? below : above >= screen.top() ? above : lowest;
    const qreal outOnTheRight = anchor.left() + width - owner.right();
    const qreal outOnTheLeft = owner.left() - (anchor.right() - width);
    const bool endsTogether = outOnTheRight > 0 && outOnTheLeft < outOnTheRight;
    const qreal x = endsTogether ? anchor.right() - width : anchor.left();
    return {std::clamp(x, screen.left(), screen.right() - width), std::clamp(y, screen.top(), lowest), width,
            height};
}

PopoverGuard::~PopoverGuard() {
    setUp(false);
}

void PopoverGuard::setAnchor(QQuickItem* value) {
    if (anchor_ == value) {
        return;
    }
    if (anchor_) {
        disconnect(anchor_, nullptr, this, nullptr);
    }
    anchor_ = value;
    if (value != nullptr) {
        connect(value, &QQuickItem::visibleChanged, this, &PopoverGuard::anchorMayBeGone);
        connect(value, &QQuickItem::windowChanged, this, &PopoverGuard::anchorMayBeGone);
        connect(value, &QObject::destroyed, this, &PopoverGuard::anchorMayBeGone);
    }
    Q_EMIT anchorChanged();
}

void PopoverGuard::setUp(bool value) {
    if (up_ == value) {
        return;
    }
    const bool wasAnyUp = anyUp();
    up_ = value;
    auto& guards = guardsUp();
    if (value) {
        const auto others = guards;
        for (PopoverGuard* const other : others) {
            const bool isBelowOther = anchor_ && other->belongsToUs(anchor_->window());
            if (std::ranges::find(guards, other) != guards.end() && !isBelowOther) {
                Q_EMIT other->dismissed(false, true);
            }
        }
        guards.push_back(this);
        pointerAtStart_ = QCursor::pos();
        setPointerMoved(false);
        qGuiApp->installEventFilter(this);
        if (anchor_ && anchor_->window() != nullptr) {
            followSurroundings(*anchor_->window());
        }
    } else {
        surroundings_.reset();
        std::erase(guards, this);
        qGuiApp->removeEventFilter(this);
    }
    Q_EMIT upChanged();
    if (wasAnyUp != anyUp()) {
        Q_EMIT Popovers::shared().anyOpenChanged();
    }
}

void PopoverGuard::followSurroundings(const QWindow& window) {
    surroundings_ = std::make_unique<QObject>();
    QObject* const whileUp = surroundings_.get();
    connect(&window, &QWindow::visibleChanged, whileUp, [this] { anchorMayBeGone(); });
    // The popover was placed and sized for the screen as it was before.
    const auto close = [this] { Q_EMIT dismissed(false, true); };
    connect(&window, &QWindow::screenChanged, whileUp, close);
    connect(window.screen(), &QScreen::geometryChanged, whileUp, close);
    connect(window.screen(), &QScreen::logicalDotsPerInchChanged, whileUp, close);
}

bool PopoverGuard::anyUp() {
    return !guardsUp().empty();
}

void PopoverGuard::dismissAll() {
    const auto all = guardsUp();
    for (PopoverGuard* const guard : std::views::reverse(all)) {
        // A popover that closes may have closed others with it.
        if (std::ranges::find(guardsUp(), guard) != guardsUp().end()) {
            Q_EMIT guard->dismissed(false, true);
        }
    }
}

QRectF PopoverGuard::frame(qreal width, qreal height, qreal gap) const {
    if (!anchor_ || anchor_->window() == nullptr) {
        return {};
    }
    const QRectF at(anchor_->mapToGlobal({0, 0}), anchor_->size());
    const QScreen* screen = QGuiApplication::screenAt(at.center().toPoint());
    if (screen == nullptr) {
        screen = anchor_->window()->screen();
    }
    return popoverFrame(at, anchor_->window()->geometry(), {width, height}, screen->availableGeometry(), gap);
}

QQuickItem* PopoverGuard::firstItem(QQuickItem* root) {
    if (QQuickItem* const chosen = chosenItem(root)) {
        return chosen;
    }
    QQuickItem* const next = root->nextItemInFocusChain(true);
    return next != root ? next : nullptr;
}

bool PopoverGuard::eventFilter(QObject* receiver, QEvent* event) {
    if (!receiver->isWindowType()) {
        return false;
    }
    const auto* const window = static_cast<const QWindow*>(receiver);
    switch (event->type()) {
        case QEvent::MouseMove:
            if (static_cast<QMouseEvent*>(event)->globalPosition() != pointerAtStart_) {
                setPointerMoved(true);
            }
            return false;
        case QEvent::MouseButtonPress:
        case QEvent::TouchBegin: {
            if (belongsToUs(window)) {
                return false;
            }
            // The button of the popover would open it again, so it does not get this press.
            const bool isSpent = isOnAnchor(window, event);
            Q_EMIT dismissed(false, anchor_ && anchor_->window() == window);
            return isSpent;
        }
        case QEvent::KeyPress:
            // Any window of the program may have the keyboard focus.
            if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && guardsUp().back() == this) {
                Q_EMIT dismissed(true, true);
                return true;
            }
            return false;
        default:
            return false;
    }
}

bool PopoverGuard::belongsToUs(const QWindow* window) const {
    for (; window != nullptr; window = window->transientParent()) {
        if (window == window_) {
            return true;
        }
    }
    return false;
}

bool PopoverGuard::isOnAnchor(const QWindow* window, QEvent* event) const {
    if (!anchor_ || anchor_->window() != window) {
        return false;
    }
    const auto* const press = static_cast<QPointerEvent*>(event);
    return std::ranges::any_of(press->points(), [this](const QEventPoint& point) {
        return anchor_->contains(anchor_->mapFromScene(point.scenePosition()));
    });
}

void PopoverGuard::setPointerMoved(bool value) {
    if (std::exchange(pointerMoved_, value) != value) {
        Q_EMIT pointerMovedChanged();
    }
}

void PopoverGuard::anchorMayBeGone() {
    if (up_ && (!anchor_ || !anchor_->isVisible() || anchor_->window() == nullptr ||
                !anchor_->window()->isVisible())) {
        Q_EMIT dismissed(false, true);
    }
}

Popovers& Popovers::shared() {
    static Popovers popovers;
    return popovers;
}

Popovers* Popovers::create(QQmlEngine*, QJSEngine*) {
    QQmlEngine::setObjectOwnership(&shared(), QQmlEngine::CppOwnership);
    return &shared();
}

}  // namespace tarn
