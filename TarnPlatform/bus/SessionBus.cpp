#include "SessionBus.h"

#include <cstdlib>
#include <filesystem>

#include "TarnPlatform/base/UserFolders.h"

namespace tarn {

std::optional<std::string> sessionBusAddress() {
    const char* const named = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (named != nullptr && *named != '\0') {
        return named;
    }
    const auto folder = UserFolders::runtime();
    if (!folder) {
        return std::nullopt;
    }
    const auto socket = *folder / "bus";
    std::error_code unreadable;
    if (!std::filesystem::is_socket(socket, unreadable)) {
        return std::nullopt;
    }
    const Text escaped(g_dbus_address_escape_value(socket.c_str()));
    return std::string("unix:path=") + escaped.get();
}

std::string systemBusAddress() {
    const char* const named = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return named != nullptr && *named != '\0' ? named : "unix:path=/run/dbus/system_bus_socket";
}

GDBusConnectionFlags ownConnectionFlags() {
    // A C flag set. NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
    return static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
}

Owned<GDBusConnection> connectToSessionBus(GCancellable* limit, std::string& whyNot) {
    const auto address = sessionBusAddress();
    if (!address) {
        whyNot = "there is none";
        return nullptr;
    }
    GlibFailure failure;
    Owned<GDBusConnection> bus(g_dbus_connection_new_for_address_sync(address->c_str(), ownConnectionFlags(),
                                                                      nullptr, limit, failure.out()));
    if (!bus) {
        whyNot = failure.text();
    }
    return bus;
}

}  // namespace tarn
