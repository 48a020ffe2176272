#pragma once

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>

#include "support/keyring/BusStandIn.h"

namespace tarn::test {

/// Plays the desktop's portal on the session bus, as far as global shortcuts go: no compositor that could be
/// the real one runs in tests.
class StandInPortal {
public:
    enum class User { agrees, refuses };
    enum class Kind { whole, withoutShortcuts };

    explicit StandInPortal(User user, Kind kind = Kind::whole)
        : user_(user),
          portal_("org.freedesktop.portal.Desktop", path,
                  kind == Kind::whole ? shortcuts : R"(<node><interface name="org.other"/></node>)",
                  [this](const std::string& method, GVariant* arguments, std::string sender) {
                      return answer(method == "CreateSession", arguments, std::move(sender));
                  }) {}

    /// As if the key was pressed. `session`: empty for the one that was asked for.
    void activate(const std::string& id, std::string session = {}) {
        const std::scoped_lock lock(mutex_);
        session = session.empty() ? session_ : session;
        portal_.emit(path, "org.freedesktop.portal.GlobalShortcuts", "Activated",
                     g_variant_new("(ost@a{sv})", session.c_str(), id.c_str(), guint64{1}, nothing()));
    }
    void closeSession() {
        const std::scoped_lock lock(mutex_);
        portal_.emit(session_, "org.freedesktop.portal.Session", "Closed",
                     g_variant_new("(@a{sv})", nothing()));
    }
    int timesBound() const { return bound_; }
    std::string asked() const {  ///< what was to be bound, printed
        const std::scoped_lock lock(mutex_);
        return asked_;
    }

private:
    static constexpr const char* path = "/org/freedesktop/portal/desktop";
    static constexpr const char* shortcuts =
        R"xml(<node><interface name="org.freedesktop.portal.GlobalShortcuts">
<method name="CreateSession"><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
<method name="BindShortcuts"><arg type="o" direction="in"/><arg type="a(sa{sv})" direction="in"/>
<arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
<property name="version" type="u" access="read"/></interface></node>)xml";

    static GVariant* nothing() { return g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0); }

    GVariant* answer(bool creates, GVariant* arguments, std::string sender) {
        const Variant options(g_variant_get_child_value(arguments, creates ? 0 : 3));
        const auto option = [&options](const char* name) {
            const char* text = "";
            g_variant_lookup(options.get(), name, "&s", &text);
            return std::string(text);
        };
        std::ranges::replace(sender, '.', '_');
        const auto below = [&](const char* kind) {
            return std::string(path) + kind + sender.substr(1) + "/";
        };
        const auto request = below("/request/") + option("handle_token");
        GVariantBuilder results;
        g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
        {
            const std::scoped_lock lock(mutex_);
            if (creates) {
                session_ = below("/session/") + option("session_handle_token");
                g_variant_builder_add(&results, "{sv}", "session_handle",
                                      g_variant_new_string(session_.c_str()));
            } else {
                const Variant list(g_variant_get_child_value(arguments, 1));
                asked_ = Text(g_variant_print(list.get(), FALSE)).get();
            }
        }
        const guint32 outcome = !creates && user_ == User::refuses ? 1 : 0;
        // Before the call returns, as a quick portal may.
        portal_.emit(request, "org.freedesktop.portal.Request", "Response",
                     g_variant_new("(ua{sv})", outcome, &results));
        bound_ += creates ? 0 : 1;
        return g_variant_new("(o)", request.c_str());
    }

    const User user_;
    std::atomic<int> bound_ = 0;
    mutable std::mutex mutex_;
    std::string session_;
    std::string asked_;
    BusStandIn portal_;
};

}  // namespace tarn::test
