#include "StackingWatch.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>

#include "X11.h"

namespace tarn {
namespace {

bool isOurs(xcb_window_t id) {
    return std::ranges::any_of(QGuiApplication::topLevelWindows(), [id](const QWindow* window) {
        return window->handle() != nullptr && window->winId() == id;
    });
}

bool isWaylandSession() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

}  // namespace

struct StackingWatch::Atoms {
    explicit Atoms(const X11& x11)
        : supported(x11.atom("_NET_SUPPORTED")),
          check(x11.atom("_NET_SUPPORTING_WM_CHECK")),
          active(x11.atom("_NET_ACTIVE_WINDOW")),
          order(x11.atom("_NET_CLIENT_LIST_STACKING")),
          state(x11.atom("_NET_WM_STATE")),
          above(x11.atom("_NET_WM_STATE_ABOVE")),
          fullScreen(x11.atom("_NET_WM_STATE_FULLSCREEN")),
          hidden(x11.atom("_NET_WM_STATE_HIDDEN")) {}
    const xcb_atom_t supported, check, active, order, state, above, fullScreen, hidden;
};

StackingWatch::StackingWatch(QObject* parent) : QObject(parent) {
    const auto* const x11 = X11::server();
    if (x11 == nullptr) {
        return;
    }
    // All of it is in properties of the root window, which window managers keep by the Extended Window
    // Manager Hints. Their changes are asked for before they are read, so that none is missed in between.
    atoms_ = std::make_unique<const Atoms>(*x11);
    x11->addEvents(x11->root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
    QCoreApplication::instance()->installNativeEventFilter(this);
    readWindowManager();
    readActiveWindow();
    settle();
}

StackingWatch::~StackingWatch() = default;

bool StackingWatch::nativeEventFilter(const QByteArray& /*type*/, void* message, qintptr* /*result*/) {
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    const auto* const x11 = X11::server();
    switch (event->response_type & 0x7f) {
        case XCB_PROPERTY_NOTIFY: {
            const auto* const change = static_cast<const xcb_property_notify_event_t*>(message);
            if (change->window == x11->root() &&
                (change->atom == atoms_->supported || change->atom == atoms_->check)) {
                readWindowManager();
            } else if (change->window == x11->root() && change->atom == atoms_->active) {
                readActiveWindow();
            } else if (change->window == x11->root() && change->atom == atoms_->order) {
                Q_EMIT restacked();
                return false;
            } else if (change->window == other_ && change->atom == atoms_->state) {
                readState();
            } else {
                return false;
            }
            break;
        }
        // A window that is hidden or closed covers nothing. One that comes back becomes the active one again.
        case XCB_UNMAP_NOTIFY:
            if (static_cast<const xcb_unmap_notify_event_t*>(message)->window != other_) {
                return false;
            }
            other_ = XCB_NONE;
            readState();
            break;
        case XCB_DESTROY_NOTIFY:
            if (static_cast<const xcb_destroy_notify_event_t*>(message)->window != other_) {
                return false;
            }
            other_ = XCB_NONE;
            readState();
            break;
        default:
            return false;
    }
    settle();
    return false;
}

void StackingWatch::readWindowManager() {
    const auto* const x11 = X11::server();
    // The properties of a window manager that is gone stay on the root; the window that they name does not.
    const auto check = x11->values(x11->root(), atoms_->check, XCB_ATOM_WINDOW);
    const bool lives = !check.empty() && x11->exists(check.front());
    const auto supported = x11->values(x11->root(), atoms_->supported, XCB_ATOM_ATOM);
    knowsAbove_ = lives && std::ranges::find(supported, atoms_->above) != supported.end();
}

void StackingWatch::readActiveWindow() {
    const auto* const x11 = X11::server();
    const auto active = x11->values(x11->root(), atoms_->active, XCB_ATOM_WINDOW);
    isNothingActive_ = active.empty() || active.front() == XCB_NONE;
    if (isNothingActive_ || isOurs(active.front())) {
        // A window of ours, or a moment without any, covers nothing new. A full-screen window of another
        // program stays where it is meanwhile, so its state counts on.
        return;
    }
    other_ = active.front();
    x11->addEvents(other_, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    readState();
}

// Xwayland's window manager shows windows of Wayland to X11 as no active window.
bool StackingWatch::isKeyboardElsewhere() const {
    return knowsAbove_ && isWaylandSession() && isNothingActive_;
}

void StackingWatch::readState() {
    const auto* const x11 = X11::server();
    isFullScreen_ = false;
    if (other_ != XCB_NONE) {
        const auto states = x11->values(other_, atoms_->state, XCB_ATOM_ATOM);
        const auto has = [&states](xcb_atom_t state) {
            return std::ranges::find(states, state) != states.end();
        };
        // A minimised window keeps its full-screen state.
        isFullScreen_ = has(atoms_->fullScreen) && !has(atoms_->hidden);
    }
}

void StackingWatch::settle() {
    const bool keeps = knowsAbove_ && !isFullScreen_ && !isKeyboardElsewhere();
    if (keepsAbove_ != keeps) {
        keepsAbove_ = keeps;
        Q_EMIT changed();
    }
}

}  // namespace tarn
