#include "ShortcutPortal.h"

#include <algorithm>
#include <utility>

namespace tarn {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* portalInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* sessionInterface = "org.freedesktop.portal.Session";

}  // namespace

ShortcutPortal::ShortcutPortal(BusConnection& bus, const std::vector<Shortcut>& shortcuts,
                               std::function<void(const std::string&)> pressed,
                               std::function<void(bool)> bound)
    : bus_(bus), shortcuts_(shortcuts), pressed_(std::move(pressed)), bound_(std::move(bound)) {
    bus_.whenConnected(lifeline_, [this](GDBusConnection* connection, const std::string&) {
        if (connection != nullptr) {
            watch(connection);
        }
    });
}

void ShortcutPortal::watch(GDBusConnection* connection) {
    connection_ = connection;
    activated_ = g_dbus_connection_signal_subscribe(
        connection_, portalName, portalInterface, "Activated", portalPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
           gpointer data) {
            auto* const self = static_cast<ShortcutPortal*>(data);
            if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(osta{sv})")) == FALSE) {
                return;
            }
            const char* session = nullptr;
            const char* id = nullptr;
            g_variant_get(arguments, "(&o&sta{sv})", &session, &id, nullptr, nullptr);
            if (session == self->session_ && std::ranges::count(self->shortcuts_, id, &Shortcut::id) > 0) {
                self->pressed_(id);
            }
        },
        this, nullptr);
    closed_ = g_dbus_connection_signal_subscribe(
        connection_, portalName, sessionInterface, "Closed", nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char* path, const char*, const char*, GVariant*,
           gpointer data) {
            auto* const self = static_cast<ShortcutPortal*>(data);
            if (path == self->session_) {
                self->session_.clear();
                self->dropRequest();
                self->setBound(false);
            }
        },
        this, nullptr);
    watch_ = g_bus_watch_name_on_connection(
        connection_, portalName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            static_cast<ShortcutPortal*>(self)->appeared();
        },
        [](GDBusConnection*, const char*, gpointer self) { static_cast<ShortcutPortal*>(self)->vanished(); },
        this, nullptr);
}

ShortcutPortal::~ShortcutPortal() {
    if (connection_ != nullptr) {
        closeSession();
        dropRequest();
        g_bus_unwatch_name(watch_);
        g_dbus_connection_signal_unsubscribe(connection_, activated_);
        g_dbus_connection_signal_unsubscribe(connection_, closed_);
    }
}

void ShortcutPortal::closeSession() {
    if (!session_.empty()) {
        bus_.call(
            {.to = portalName, .path = session_.c_str(), .interface = sessionInterface, .method = "Close"});
        session_.clear();
    }
}

void ShortcutPortal::vanished() {
    portalsLife_.reset();
    dropRequest();
    session_.clear();
    setBound(false);
}

// Many portals have no shortcuts: only one that says its version has.
void ShortcutPortal::appeared() {
    vanished();
    portalsLife_ = BusConnection::newLifeline();
    bus_.call({.to = portalName,
               .path = portalPath,
               .interface = "org.freedesktop.DBus.Properties",
               .method = "Get",
               .arguments = g_variant_new("(ss)", portalInterface, "version"),
               .answerType = "(v)",
               .flags = G_DBUS_CALL_FLAGS_NONE},
              portalsLife_, [this](const Variant& reply, const std::string&) {
                  if (reply) {
                      createSession();
                  }
              });
}

std::string ShortcutPortal::newToken() {
    return "tarn" + std::to_string(++tokens_);
}

void ShortcutPortal::createSession() {
    const auto token = newToken();
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string(token.c_str()));
    request("CreateSession", g_variant_new("(a{sv})", &options), token, &ShortcutPortal::bindShortcuts);
}

void ShortcutPortal::bindShortcuts(GVariant* results) {
    const char* session = nullptr;  // a text, although it is a path
    if (g_variant_lookup(results, "session_handle", "&s", &session) == FALSE ||
        g_variant_is_object_path(session) == FALSE) {
        return;
    }
    session_ = session;
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa{sv})"));
    for (const auto& shortcut : shortcuts_) {
        GVariantBuilder about;
        g_variant_builder_init(&about, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&about, "{sv}", "description",
                              g_variant_new_string(shortcut.description.c_str()));
        g_variant_builder_add(&about, "{sv}", "preferred_trigger",
                              g_variant_new_string(shortcut.preferred.portalText().c_str()));
        g_variant_builder_add(&list, "(sa{sv})", shortcut.id.c_str(), &about);
    }
    const auto token = newToken();
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    request("BindShortcuts", g_variant_new("(oa(sa{sv})sa{sv})", session, &list, "", &options), token,
            &ShortcutPortal::haveBound);
}

void ShortcutPortal::haveBound(GVariant* /*results*/) {
    setBound(true);
}

void ShortcutPortal::setBound(bool isBound) {
    if (std::exchange(isBound_, isBound) != isBound) {
        bound_(isBound);
    }
}

// The answer is a signal of an object whose path follows from the connection's name and `token`. It may come
// before the call returns, so it is listened for first. The call itself returns nothing of use: where it
// fails, there is no signal.
void ShortcutPortal::request(const char* method, GVariant* arguments, const std::string& token,
                             Answered answered) {
    std::string sender = g_dbus_connection_get_unique_name(connection_) + 1;
    std::ranges::replace(sender, '.', '_');
    answered_ = answered;
    listen(std::string(portalPath) + "/request/" + sender + "/" + token);
    bus_.call({.to = portalName,
               .path = portalPath,
               .interface = portalInterface,
               .method = method,
               .arguments = arguments,
               .flags = G_DBUS_CALL_FLAGS_NONE});
}

void ShortcutPortal::listen(const std::string& request) {
    dropRequest();
    response_ = g_dbus_connection_signal_subscribe(
        connection_, portalName, requestInterface, "Response", request.c_str(), nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
           gpointer self) { static_cast<ShortcutPortal*>(self)->respond(arguments); },
        this, nullptr);
}

void ShortcutPortal::dropRequest() {
    if (response_ != 0) {
        g_dbus_connection_signal_unsubscribe(connection_, std::exchange(response_, 0));
    }
}

void ShortcutPortal::respond(GVariant* arguments) {
    if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})")) == FALSE) {
        return;
    }
    dropRequest();
    guint32 outcome = 0;
    GVariant* values = nullptr;
    g_variant_get(arguments, "(u@a{sv})", &outcome, &values);
    const Variant results(values);
    if (outcome == 0) {
        (this->*answered_)(results.get());
    } else {
        closeSession();  // the user does not want it, or the desktop cannot
    }
}

}  // namespace tarn
