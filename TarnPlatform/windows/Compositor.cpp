#include "Compositor.h"

#include <xcb/xfixes.h>

#include <QCoreApplication>
#include <string>

#include "X11.h"

namespace tarn {

Compositor::Compositor(QObject* parent) : QObject(parent) {
    const auto* const x11 = X11::server();
    if (x11 == nullptr) {
        return;
    }
    auto* const connection = x11->connection();
    // A compositing manager shows that it runs by owning this selection of its screen.
    selection_ = x11->atom(("_NET_WM_CM_S" + std::to_string(x11->screen())).c_str());
    const auto* const extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (extension != nullptr && extension->present != 0) {
        // The server refuses all other requests of this extension to a client that has not told its version.
        const Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
            connection,
            xcb_xfixes_query_version(connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
            nullptr));
        notify_ = extension->first_event + XCB_XFIXES_SELECTION_NOTIFY;
        xcb_xfixes_select_selection_input(connection, x11->root(), selection_,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    // The owner is read after the events were asked for, so that no change is missed between the two.
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection_), nullptr));
    isRunning_ = owner && owner->owner != XCB_NONE;
}

Compositor::~Compositor() = default;

bool Compositor::nativeEventFilter(const QByteArray& /*type*/, void* message, qintptr* /*result*/) {
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == notify_) {
        const auto* const change = static_cast<const xcb_xfixes_selection_notify_event_t*>(message);
        if (change->selection == selection_) {
            setRunning(change->owner != XCB_NONE);
        }
    }
    return false;
}

void Compositor::setRunning(bool value) {
    if (isRunning_ != value) {
        isRunning_ = value;
        Q_EMIT changed();
    }
}

}  // namespace tarn
