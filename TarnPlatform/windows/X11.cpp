#include "X11.h"

#include <QtGui/qguiapplication_platform.h>
#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tarn {

void FreeReply::operator()(void* reply) const {
    std::free(reply);
}

X11* X11::server() {
    static const std::unique_ptr<X11> server = []() -> std::unique_ptr<X11> {
        auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        auto* const connection = x11 == nullptr ? nullptr : x11->connection();
        if (connection == nullptr) {
            return nullptr;
        }
        char* host = nullptr;
        int display = 0;
        int screen = 0;
        xcb_parse_display(nullptr, &host, &display, &screen);
        std::free(host);
        return std::make_unique<X11>(connection, screen);
    }();
    return server.get();
}

X11::X11(xcb_connection_t* connection, int screen) : connection_(connection), screen_(screen) {
    // XCB has no look-up by number: the screens are a list.
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screen_ && screens.rem > 1; ++i) {
        xcb_screen_next(&screens);
    }
    root_ = screens.data->root;
}

xcb_atom_t X11::atom(const char* name) const {
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::vector<std::uint32_t> X11::values(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const {
    constexpr std::uint32_t most = 4096;
    const auto cookie = xcb_get_property(connection_, 0, window, property, type, 0, most);
    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, &error));
    std::free(error);
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    const auto count = static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof *first;
    return std::vector<std::uint32_t>(first, first + count);
}

std::string X11::text(xcb_window_t window, const char* property) const {
    constexpr std::uint32_t most = 4096;
    const auto cookie = xcb_get_property(connection_, 0, window, atom(property), XCB_ATOM_ANY, 0, most);
    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, &error));
    std::free(error);
    if (!reply) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

bool X11::exists(xcb_window_t window) const {
    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), &error));
    std::free(error);
    return reply != nullptr;
}

// A client has one mask for each window, which is replaced as a whole: Qt's own events are kept in it.
void X11::addEvents(xcb_window_t window, std::uint32_t mask) const {
    xcb_generic_error_t* error = nullptr;
    const Reply<xcb_get_window_attributes_reply_t> now(
        xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), &error));
    std::free(error);
    if (!now || (now->your_event_mask & mask) == mask) {
        return;
    }
    // Checked, since the window may end at any moment, and Qt would complain in the log.
    const std::uint32_t all = now->your_event_mask | mask;
    std::free(xcb_request_check(
        connection_, xcb_change_window_attributes_checked(connection_, window, XCB_CW_EVENT_MASK, &all)));
}

void X11::tellWindowManager(xcb_window_t window, xcb_atom_t type,
                            std::initializer_list<std::uint32_t> data) const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    std::ranges::copy(data, message.data.data32);
    xcb_send_event(connection_, 0, root_,
                   // The window manager is the client that has asked for these events of the root window.
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   // Bytes of a wire format, as the function takes them.
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
}

}  // namespace tarn
