#include "BusStandIn.h"

#include <stdexcept>
#include <utility>

#include "TarnPlatform/bus/SessionBus.h"

namespace tarn::test {

BusStandIn::BusStandIn(const char* name, const char* path, const char* description, Answer answer)
    : answer_(std::move(answer)) {
    static const GDBusInterfaceVTable table = {
        [](GDBusConnection*, const char* sender, const char*, const char*, const char* method,
           GVariant* arguments, GDBusMethodInvocation* call, gpointer self) {
            g_dbus_method_invocation_return_value(
                call, static_cast<BusStandIn*>(self)->answer_(method, arguments, sender));
        },
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GError**, gpointer) {
            return g_variant_new_uint32(1);
        },
        nullptr,
        {}};
    g_main_context_push_thread_default(context_);
    std::string whyNot;
    bus_ = connectToSessionBus(nullptr, whyNot);
    if (!bus_) {
        throw std::runtime_error("no session bus for a stand-in: " + whyNot);
    }
    auto* const node = g_dbus_node_info_new_for_xml(description, nullptr);
    g_dbus_connection_register_object(bus_.get(), path, node->interfaces[0], &table, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    g_main_context_pop_thread_default(context_);
    thread_ = std::thread([this] { g_main_loop_run(loop_); });
    const Variant owned(g_dbus_connection_call_sync(
        bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", name, 4), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
}

BusStandIn::~BusStandIn() {
    g_dbus_connection_close_sync(bus_.get(), nullptr, nullptr);
    g_main_loop_quit(loop_);
    thread_.join();
    bus_.reset();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void BusStandIn::emit(const std::string& path, const char* interface, const char* signal,
                      GVariant* arguments) const {
    g_dbus_connection_emit_signal(bus_.get(), nullptr, path.c_str(), interface, signal, arguments, nullptr);
}

}  // namespace tarn::test
