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
    bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string&) {
        if (isConnected) {
            watch();
        }
    });
}

ShortcutPortal::~ShortcutPortal() {
    closeSession();
}

void ShortcutPortal::watch() {
    held_.push_back(bus_.listen(portalName, portalInterface, "Activated", portalPath, "(osta{sv})",
                                [this](std::string_view, GVariant* arguments) {
                                    const char* session = nullptr;
                                    const char* id = nullptr;
                                    g_variant_get(arguments, "(&o&sta{sv})", &session, &id, nullptr, nullptr);
                                    if (session == session_ &&
                                        std::ranges::count(shortcuts_, id, &Shortcut::id) > 0) {
                                        pressed_(id);
                                    }
                                }));
    held_.push_back(bus_.listen(portalName, sessionInterface, "Closed", nullptr, nullptr,
                                [this](std::string_view path, GVariant*) {
                                    if (path == session_) {
                                        session_.clear();
                                        response_.reset();
                                        setBound(false);
                                    }
                                }));
    held_.push_back(bus_.watchName(portalName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START,
                                   [this](bool isThere) { isThere ? appeared() : vanished(); }));
}

void ShortcutPortal::closeSession() {
    if (!session_.empty()) {
        bus_.call({portalName, session_.c_str(), sessionInterface, "Close"});
        session_.clear();
    }
}

void ShortcutPortal::vanished() {
    portalsLife_.reset();
    response_.reset();
    session_.clear();
    setBound(false);
}

// A portal is one service with many interfaces, and most desktops' portals lack this one. Only a portal that
// has it answers for its version.
void ShortcutPortal::appeared() {
    vanished();
    portalsLife_ = BusConnection::newLifeline();
    bus_.call({portalName, portalPath, "org.freedesktop.DBus.Properties", "Get",
               g_variant_new("(ss)", portalInterface, "version"), "(v)", G_DBUS_CALL_FLAGS_NONE},
              portalsLife_, [this](const Variant& reply, const std::string&) {
                  if (reply) {
                      createSession();
                  }
              });
}

std::string ShortcutPortal::newToken() {
    return "tarn" + std::to_string(++tokens_);
}

// The road to shortcuts: a session is created, the shortcuts are bound in it, and the portal signals each
// press with the session's path. Each step is a call whose real answer comes later, as a signal (see
// `request`).
void ShortcutPortal::createSession() {
    const auto token = newToken();
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    g_variant_builder_add(&options, "{sv}", "session_handle_token", g_variant_new_string(token.c_str()));
    request("CreateSession", g_variant_new("(a{sv})", &options), token, &ShortcutPortal::bindShortcuts);
}

void ShortcutPortal::bindShortcuts(GVariant* results) {
    const char* session = nullptr;  // the interface has it as a string, although it is an object's path
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
    std::string sender = g_dbus_connection_get_unique_name(bus_.get()) + 1;
    std::ranges::replace(sender, '.', '_');
    const std::string path = std::string(portalPath) + "/request/" + sender + "/" + token;
    answered_ = answered;
    response_ = bus_.listen(portalName, requestInterface, "Response", path.c_str(), "(ua{sv})",
                            [this](std::string_view, GVariant* answer) { respond(answer); });
    bus_.call({portalName, portalPath, portalInterface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE});
}

void ShortcutPortal::respond(GVariant* arguments) {
    const auto listener = std::exchange(response_, nullptr);  // there is one answer
    guint32 outcome = 0;
    GVariant* values = nullptr;
    g_variant_get(arguments, "(u@a{sv})", &outcome, &values);
    const Variant results(values);
    if (outcome == 0) {
        (this->*answered_)(results.get());
    } else {
        closeSession();  // the user has refused, or the desktop cannot bind them
    }
}

}  // namespace tarn
