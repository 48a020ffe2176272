#include "DisplayFacts.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "X11.h"

namespace tarn {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

xcb_atom_t atom(xcb_connection_t* x11, std::string_view name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        x11, xcb_intern_atom(x11, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string bytes(xcb_connection_t* x11, xcb_window_t window, std::string_view property) {
    constexpr std::uint32_t most = 4096;
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x11, xcb_get_property(x11, 0, window, atom(x11, property), XCB_ATOM_ANY, 0, most), nullptr));
    if (!reply) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<std::uint32_t> values(xcb_connection_t* x11, xcb_window_t window, std::string_view property) {
    const auto text = bytes(x11, window, property);
    std::vector<std::uint32_t> numbers(text.size() / sizeof(std::uint32_t));
    std::copy_n(text.data(), numbers.size() * sizeof(std::uint32_t), reinterpret_cast<char*>(numbers.data()));
    return numbers;
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

}  // namespace

Result<DisplayFacts> DisplayFacts::read() {
    if (!isSet("DISPLAY")) {
        return failure(ErrorKind::unavailable, "DISPLAY is not set");
    }
    int number = 0;
    const Connection connection(xcb_connect(nullptr, &number));
    auto* const x11 = connection.get();
    DisplayFacts facts{.display = std::getenv("DISPLAY"), .isXwayland = isSet("WAYLAND_DISPLAY")};
    if (xcb_connection_has_error(x11) != 0) {
        return failure(ErrorKind::unavailable, "no X server answers at " + facts.display);
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(x11));
    for (int i = 0; i < number && screens.rem > 1; ++i) {
        xcb_screen_next(&screens);
    }
    const auto root = screens.data->root;
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        x11, xcb_get_selection_owner(x11, atom(x11, "_NET_WM_CM_S" + std::to_string(number))), nullptr));
    facts.hasCompositor = owner && owner->owner != XCB_NONE;
    const auto check = values(x11, root, "_NET_SUPPORTING_WM_CHECK");
    // The property outlives its window manager, the window does not.
    if (!check.empty() && values(x11, check.front(), "_NET_SUPPORTING_WM_CHECK") == check) {
        const auto name = bytes(x11, check.front(), "_NET_WM_NAME");
        facts.windowManager = name.empty() ? "?" : name;
        const auto supported = values(x11, root, "_NET_SUPPORTED");
        facts.staysAbove = std::ranges::find(supported, atom(x11, "_NET_WM_STATE_ABOVE")) != supported.end();
    }
    return facts;
}

}  // namespace tarn
