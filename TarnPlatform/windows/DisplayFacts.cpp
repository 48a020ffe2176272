#include "DisplayFacts.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "X11.h"

namespace tarn {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

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
    DisplayFacts facts{.display = std::getenv("DISPLAY"), .isXwayland = isSet("WAYLAND_DISPLAY")};
    if (xcb_connection_has_error(connection.get()) != 0) {
        return failure(ErrorKind::unavailable, "no X server answers at " + facts.display);
    }
    const X11 x11(connection.get(), number);
    const auto selection = x11.atom(("_NET_WM_CM_S" + std::to_string(number)).c_str());
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), selection), nullptr));
    facts.hasCompositor = owner && owner->owner != XCB_NONE;
    const auto checkAtom = x11.atom("_NET_SUPPORTING_WM_CHECK");
    const auto check = x11.values(x11.root(), checkAtom, XCB_ATOM_WINDOW);
    // The property outlives its window manager, the window does not.
    if (!check.empty() && x11.values(check.front(), checkAtom, XCB_ATOM_WINDOW) == check) {
        const auto name = x11.text(check.front(), "_NET_WM_NAME");
        facts.windowManager = name.empty() ? "?" : name;
        const auto supported = x11.values(x11.root(), x11.atom("_NET_SUPPORTED"), XCB_ATOM_ATOM);
        facts.staysAbove = std::ranges::find(supported, x11.atom("_NET_WM_STATE_ABOVE")) != supported.end();
    }
    return facts;
}

}  // namespace tarn
