#include "WindowSystem.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "TarnPlatform/base/UserFolders.h"

namespace tarn {
namespace {

constexpr const char* platformVariable = "QT_QPA_PLATFORM";

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Both are asked by a connection, because the variables outlive a session whose server is gone, and Qt aborts
// the program where the one that it was told to use does not answer.
bool x11Answers() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool waylandAnswers() {
    std::string path = variable("WAYLAND_DISPLAY");
    if (path.empty()) {
        return false;
    }
    // By libwayland's rule: a name is that of a socket in the runtime folder.
    if (path.front() != '/') {
        path = UserFolders::runtime().value_or("/") / path;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers =
        socket >= 0 && connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (socket >= 0) {
        close(socket);
    }
    return answers;
}

}  // namespace

Result<void> WindowSystem::choose() {
    const std::string chosen = variable(platformVariable);
    // The user's choice may carry options ("xcb:…"), and may be a platform without a display ("offscreen").
    const bool wantsX11 = chosen.empty() || std::string_view(chosen).starts_with("xcb");
    if (!wantsX11 && !std::string_view(chosen).starts_with("wayland")) {
        return {};
    }
    if (wantsX11 && !variable("DISPLAY").empty() && x11Answers()) {
        setenv(platformVariable, "xcb", 0);
        return {};
    }
    if ((!wantsX11 || chosen.empty()) && waylandAnswers()) {
        setenv(platformVariable, "wayland", 0);
        return {};
    }
    return failure(ErrorKind::unavailable, "no display answers (DISPLAY=" + variable("DISPLAY") +
                                               ", WAYLAND_DISPLAY=" + variable("WAYLAND_DISPLAY") + ")");
}

}  // namespace tarn
