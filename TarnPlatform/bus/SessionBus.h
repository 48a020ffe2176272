#pragma once

#include <optional>
#include <string>

#include "BusNames.h"
#include "CallLimit.h"
#include "Glib.h"

namespace tarn {

/// Where the user's session bus is, or nothing: GLib's own search would start a bus that nobody else is on.
std::optional<std::string> sessionBusAddress();

/// Where the bus is that all users of the machine share, whether or not it runs.
std::string systemBusAddress();

/// How a connection of one's own is made: GLib does not share it, and its end does not end the process.
GDBusConnectionFlags ownConnectionFlags();

/// A connection of the caller's own, whose end does not end the process. Nothing, and why, when there is
/// none. Its signals and calls go to the caller's main context. Waits until the bus has answered or `limit`
/// is cancelled.
Owned<GDBusConnection> connectToSessionBus(GCancellable* limit, std::string& whyNot);

/// A method of an object on the bus.
struct BusMethod {
    const char* to;
    const char* path;
    const char* interface;
    const char* name;
};
/// A method of the bus itself.
inline BusMethod busMethod(const char* name) {
    return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", name};
}

/// Calls it and waits for the answer; null, and why, where there is none of that type within the limit. The
/// bus starts nothing for it.
Variant callSync(GDBusConnection* bus, const BusMethod& method, GVariant* arguments, const char* answerType,
                 const CallLimit& limit, GlibFailure& problem);

/// As `busNamePresence`, on a connection that is there already; nothing, and why, where the bus does not
/// answer.
std::optional<BusNamePresence> presenceOn(GDBusConnection* bus, const std::string& name,
                                          const CallLimit& limit, GlibFailure& problem);

}  // namespace tarn
