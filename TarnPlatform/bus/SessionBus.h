#pragma once

#include <optional>
#include <string>

#include "Glib.h"

namespace tarn {

/// Where the user's session bus is, or nothing: GLib's own search would start a bus that nobody else is on.
std::optional<std::string> sessionBusAddress();

/// How a connection of one's own is made: GLib does not share it, and its end does not end the process.
GDBusConnectionFlags ownConnectionFlags();

/// A connection of the caller's own, whose end does not end the process. Nothing, and why, when there is
/// none. Its signals and calls go to the caller's main context. Waits until the bus has answered or `limit`
/// is cancelled.
Owned<GDBusConnection> connectToSessionBus(GCancellable* limit, std::string& whyNot);

}  // namespace tarn
