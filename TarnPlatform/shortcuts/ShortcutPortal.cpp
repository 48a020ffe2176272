#include "ShortcutPortal.h"

#include <algorithm>
#include <utility>

namespace tarn {
namespace {

constexpr const char* portalName = PortalRequest::portalName;
constexpr const char* portalPath = PortalRequest::portalPath;
constexpr const char* portalInterface = "org.freedesktop.portal.GlobalShortcuts";
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
                                        request_.reset();
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
    request_.reset();
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
// press with the session's path. Each step is a `PortalRequest`.
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

void ShortcutPortal::request(const char* method, GVariant* arguments, const std::string& token,
                             Answered answered) {
    const auto take = [this, answered](PortalRequest::Outcome outcome, GVariant* results) {
        if (outcome == PortalRequest::Outcome::granted) {
            (this->*answered)(results);
        } else if (outcome == PortalRequest::Outcome::refused) {
            closeSession();  // the user has refused, or the desktop cannot bind them
        }
    };
    request_ = std::make_unique<PortalRequest>(bus_, portalInterface, method, arguments, token, take);
}

}  // namespace tarn
