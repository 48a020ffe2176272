#include "Withdrawal.h"

#include <QCoreApplication>
#include <QWindow>

#include "X11.h"

namespace tarn {

Withdrawal::Withdrawal(QObject* parent) : QObject(parent) {
    if (const auto* const x11 = X11::server()) {
        state_ = x11->atom("WM_STATE");
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
}

Withdrawal::~Withdrawal() = default;

bool Withdrawal::await(QWindow& window) {
    window_ = XCB_NONE;
    if (X11::server() == nullptr || window.handle() == nullptr) {
        return true;
    }
    window_ = static_cast<xcb_window_t>(window.winId());
    if (!isManaged()) {
        window_ = XCB_NONE;
        return true;
    }
    return false;
}

bool Withdrawal::nativeEventFilter(const QByteArray& /*type*/, void* message, qintptr* /*result*/) {
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    if (window_ != XCB_NONE && (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
        const auto* const change = static_cast<const xcb_property_notify_event_t*>(message);
        if (change->window == window_ && change->atom == state_ && !isManaged()) {
            window_ = XCB_NONE;
            Q_EMIT done();
        }
    }
    return false;
}

// By the Inter-Client Communication Conventions a window manager sets WM_STATE on each window that it
// manages, and removes it, or sets it to Withdrawn, when it has let go.
bool Withdrawal::isManaged() const {
    constexpr std::uint32_t withdrawn = 0;
    const auto state = X11::server()->values(window_, state_, state_);
    return !state.empty() && state.front() != withdrawn;
}

}  // namespace tarn
