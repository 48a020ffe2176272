#include "StandInPortal.h"

#include <algorithm>
#include <utility>

#include "TarnPlatform/bus/SessionBus.h"

namespace tarn::test {
namespace {

constexpr const char* path = "/org/freedesktop/portal/desktop";
constexpr const char* description = R"xml(<node><interface name="org.freedesktop.portal.GlobalShortcuts">
<method name="CreateSession"><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
<method name="BindShortcuts"><arg type="o" direction="in"/><arg type="a(sa{sv})" direction="in"/>
<arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
<property name="version" type="u" access="read"/></interface>
<interface name="org.freedesktop.portal.Other"/></node>)xml";

}  // namespace

StandInPortal::StandInPortal(User user, Kind kind) : user_(user), kind_(kind) {
    std::atomic<bool> isReady = false;
    thread_ = std::thread([this, &isReady] { run(isReady); });
    isReady.wait(false);
}

StandInPortal::~StandInPortal() {
    g_main_loop_quit(loop_);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void StandInPortal::run(std::atomic<bool>& isReady) {
    g_main_context_push_thread_default(context_);
    std::string whyNot;
    bus_ = connectToSessionBus(nullptr, whyNot);
    auto* const node = g_dbus_node_info_new_for_xml(description, nullptr);
    static const GDBusInterfaceVTable table = {
        [](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
           GDBusMethodInvocation* call,
           gpointer self) { static_cast<StandInPortal*>(self)->answer(method, arguments, call); },
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GError**, gpointer) {
            return g_variant_new_uint32(1);
        },
        nullptr,
        {}};
    g_dbus_connection_register_object(bus_.get(), path, node->interfaces[kind_ == Kind::whole ? 0 : 1],
                                      &table, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    const Variant owned(g_dbus_connection_call_sync(
        bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "org.freedesktop.portal.Desktop", 4), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000,
        nullptr, nullptr));
    isReady = true;
    isReady.notify_one();
    g_main_loop_run(loop_);
    g_dbus_connection_close_sync(bus_.get(), nullptr, nullptr);
    g_main_context_pop_thread_default(context_);
}

void StandInPortal::answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* call) {
    const bool creates = method == "CreateSession";
    const Variant options(g_variant_get_child_value(arguments, creates ? 0 : 3));
    const char* token = "";
    g_variant_lookup(options.get(), "handle_token", "&s", &token);
    std::string sender = g_dbus_method_invocation_get_sender(call) + 1;
    std::ranges::replace(sender, '.', '_');
    const std::string request = std::string(path) + "/request/" + sender + "/" + token;
    GVariantBuilder results;
    g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
    {
        const std::scoped_lock lock(mutex_);
        if (creates) {
            const char* name = "";
            g_variant_lookup(options.get(), "session_handle_token", "&s", &name);
            session_ = std::string(path) + "/session/" + sender + "/" + name;
            g_variant_builder_add(&results, "{sv}", "session_handle", g_variant_new_string(session_.c_str()));
        } else {
            const Variant list(g_variant_get_child_value(arguments, 1));
            const Text printed(g_variant_print(list.get(), FALSE));
            asked_ = printed.get();
        }
    }
    const guint32 outcome = !creates && user_ == User::refuses ? 1 : 0;
    // Before the call returns, as a quick portal may.
    g_dbus_connection_emit_signal(bus_.get(), nullptr, request.c_str(), "org.freedesktop.portal.Request",
                                  "Response", g_variant_new("(ua{sv})", outcome, &results), nullptr);
    g_dbus_method_invocation_return_value(call, g_variant_new("(o)", request.c_str()));
    bound_ += creates ? 0 : 1;
}

void StandInPortal::activate(const std::string& id, std::string session) {
    const std::scoped_lock lock(mutex_);
    session = session.empty() ? session_ : session;
    g_dbus_connection_emit_signal(bus_.get(), nullptr, path, "org.freedesktop.portal.GlobalShortcuts",
                                  "Activated",
                                  g_variant_new("(ost@a{sv})", session.c_str(), id.c_str(), guint64{1},
                                                g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)),
                                  nullptr);
}

void StandInPortal::closeSession() {
    const std::scoped_lock lock(mutex_);
    g_dbus_connection_emit_signal(
        bus_.get(), nullptr, session_.c_str(), "org.freedesktop.portal.Session", "Closed",
        g_variant_new("(@a{sv})", g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)), nullptr);
}

std::string StandInPortal::asked() const {
    const std::scoped_lock lock(mutex_);
    return asked_;
}

}  // namespace tarn::test
