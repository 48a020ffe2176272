#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

struct FreeReply {
    void operator()(void* reply) const;
};
/// An answer of the X server, or nothing where the window it was about is gone.
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

/// Requests to an X server about its windows. Thread: that of the connection.
class X11 {
public:
    /// The server of Qt's own connection. Null where the platform is another one, such as Wayland. Made once,
    /// and lives as long as the application. Thread: main.
    static X11* server();

    /// `connection` must outlive this; `screen`: the number of its screen.
    X11(xcb_connection_t* connection, int screen);

    xcb_connection_t* connection() const { return connection_; }
    xcb_window_t root() const { return root_; }
    int screen() const { return screen_; }

    xcb_atom_t atom(const char* name) const;
    /// The values of a property of atoms, windows or numbers; empty without it, and without the window.
    std::vector<std::uint32_t> values(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const;
    /// The bytes of a property of text; empty without it, and without the window.
    std::string text(xcb_window_t window, const char* property) const;
    bool exists(xcb_window_t window) const;
    /// Asks for events beside those that somebody of this process has asked for.
    void addEvents(xcb_window_t window, std::uint32_t mask) const;
    /// A message for the window manager about `window`.
    void tellWindowManager(xcb_window_t window, xcb_atom_t type,
                           std::initializer_list<std::uint32_t> data) const;

private:
    xcb_connection_t* connection_;
    int screen_;
    xcb_window_t root_ = XCB_NONE;
};

}  // namespace tarn
