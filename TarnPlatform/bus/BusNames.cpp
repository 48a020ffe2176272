#include "BusNames.h"

#include <string_view>
#include <thread>

#include "SessionBus.h"

namespace tarn {
namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* portalName = "org.freedesktop.portal.Desktop";

/// A conversation with the bus, cancelled when its time is over.
class Asking {
public:
    explicit Asking(std::chrono::milliseconds limit)
        : context_(g_main_context_new()), cancellable_(g_cancellable_new()) {
        g_main_context_push_thread_default(context_);
        timer_ = g_timeout_source_new(static_cast<guint>(limit.count()));
        g_source_set_callback(
            timer_,
            [](gpointer cancellable) -> gboolean {
                g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
                return G_SOURCE_REMOVE;
            },
            cancellable_.get(), nullptr);
        watch_ = g_main_context_new();
        g_source_attach(timer_, watch_);
        watcher_ = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                g_main_context_iteration(watch_, TRUE);
            }
        });
        bus_ = connectToSessionBus(cancellable_.get(), whyNot_);
    }
    ~Asking() {
        watcher_.request_stop();
        g_main_context_wakeup(watch_);
        watcher_.join();
        g_source_destroy(timer_);
        g_source_unref(timer_);
        g_main_context_unref(watch_);
        bus_.reset();
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    explicit operator bool() const { return bus_ != nullptr; }

    Variant call(const char* to, const char* path, const char* interface, const char* method,
                 GVariant* arguments, const char* answerType) {
        return Variant(g_dbus_connection_call_sync(
            bus_.get(), to, path, interface, method, arguments, G_VARIANT_TYPE(answerType),
            G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, cancellable_.get(), failure_.out()));
    }

    std::unexpected<Error> failed() const {
        if (g_cancellable_is_cancelled(cancellable_.get()) != FALSE) {
            return failure(ErrorKind::timeout, "the session bus does not answer");
        }
        return failure(ErrorKind::unavailable, "no session bus (" + (bus_ ? failure_.text() : whyNot_) + ")");
    }

private:
    GMainContext* const context_;
    const Owned<GCancellable> cancellable_;
    GMainContext* watch_ = nullptr;
    GSource* timer_ = nullptr;
    std::jthread watcher_;
    std::string whyNot_;
    GlibFailure failure_;
    Owned<GDBusConnection> bus_;
};

Result<bool> hasOwner(Asking& asking, const std::string& name) {
    const auto answer = asking.call(busName, "/org/freedesktop/DBus", busName, "NameHasOwner",
                                    g_variant_new("(s)", name.c_str()), "(b)");
    if (!answer) {
        return asking.failed();
    }
    gboolean owned = FALSE;
    g_variant_get(answer.get(), "(b)", &owned);
    return owned != FALSE;
}

}  // namespace

Result<BusNamePresence> busNamePresence(const std::string& name, std::chrono::milliseconds limit) {
    Asking asking(limit);
    if (!asking) {
        return asking.failed();
    }
    const auto owned = hasOwner(asking, name);
    if (!owned) {
        return std::unexpected(owned.error());
    }
    if (*owned) {
        return BusNamePresence::owned;
    }
    const auto names =
        asking.call(busName, "/org/freedesktop/DBus", busName, "ListActivatableNames", nullptr, "(as)");
    if (!names) {
        return asking.failed();
    }
    GVariantIter* entries = nullptr;
    g_variant_get(names.get(), "(as)", &entries);
    bool found = false;
    const char* entry = nullptr;
    while (g_variant_iter_next(entries, "&s", &entry) != FALSE) {
        found = found || name == entry;
    }
    g_variant_iter_free(entries);
    return found ? BusNamePresence::activatable : BusNamePresence::absent;
}

Result<std::optional<std::uint32_t>> portalSettingsVersion(std::chrono::milliseconds limit) {
    Asking asking(limit);
    if (!asking) {
        return asking.failed();
    }
    const auto owned = hasOwner(asking, portalName);
    if (!owned) {
        return std::unexpected(owned.error());
    }
    if (!*owned) {
        return std::nullopt;
    }
    const auto answer =
        asking.call(portalName, "/org/freedesktop/portal/desktop", "org.freedesktop.DBus.Properties", "Get",
                    g_variant_new("(ss)", "org.freedesktop.portal.Settings", "version"), "(v)");
    if (!answer) {
        const auto why = asking.failed();
        return why.error().kind == ErrorKind::timeout
                   ? Result<std::optional<std::uint32_t>>(std::unexpected(why.error()))
                   : std::nullopt;
    }
    GVariant* inner = nullptr;
    g_variant_get(answer.get(), "(v)", &inner);
    const Variant version(inner);
    return g_variant_is_of_type(version.get(), G_VARIANT_TYPE_UINT32) != FALSE
               ? std::optional(g_variant_get_uint32(version.get()))
               : std::nullopt;
}

}  // namespace tarn
