#pragma once

#include <functional>
#include <string>
#include <thread>

#include "TarnPlatform/bus/Glib.h"

namespace tarn::test {

/// Plays a service of the desktop on the session bus, on a connection and a thread of its own.
class BusStandIn {
public:
    /// The result of a call, null for none. Called on the stand-in's thread; `sender` is who calls.
    using Answer =
        std::function<GVariant*(const std::string& method, GVariant* arguments, std::string sender)>;

    /// Is reached by `name` when the constructor returns, with one object at `path` whose first interface
    /// `description` (XML) tells. Each of its properties is 1.
    BusStandIn(const char* name, const char* path, const char* description, Answer answer);
    ~BusStandIn();
    BusStandIn(const BusStandIn&) = delete;
    BusStandIn& operator=(const BusStandIn&) = delete;

    /// Takes `arguments`. Thread: any.
    void emit(const std::string& path, const char* interface, const char* signal, GVariant* arguments) const;
    GDBusConnection* bus() const { return bus_.get(); }

private:
    const Answer answer_;
    GMainContext* const context_ = g_main_context_new();
    GMainLoop* const loop_ = g_main_loop_new(context_, FALSE);
    Owned<GDBusConnection> bus_;
    std::thread thread_;
};

}  // namespace tarn::test
