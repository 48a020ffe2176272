#include "BusNames.h"

#include "CallLimit.h"
#include "SessionBus.h"

namespace tarn {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";

/// A conversation with the bus on a connection of its own, cancelled when its time is over.
class Asking {
public:
    explicit Asking(std::chrono::milliseconds limit)
        : limit_(limit), bus_(connectToSessionBus(limit_.cancellable(), whyNot_)) {}

    explicit operator bool() const { return bus_ != nullptr; }
    GDBusConnection* bus() const { return bus_.get(); }
    const CallLimit& limit() const { return limit_; }

    std::unexpected<Error> failed(const GlibFailure& problem) const {
        return limit_.hasPassed() ? failure(ErrorKind::timeout, "the session bus does not answer")
                                  : failure(ErrorKind::unavailable,
                                            "no session bus (" + (bus_ ? problem.text() : whyNot_) + ")");
    }

private:
    const OwnMainContext context_;
    const CallLimit limit_;
    std::string whyNot_;
    const Owned<GDBusConnection> bus_;
};

}  // namespace

Variant callSync(GDBusConnection* bus, const BusMethod& method, GVariant* arguments, const char* answerType,
                 const CallLimit& limit, GlibFailure& problem) {
    return Variant(g_dbus_connection_call_sync(
        bus, method.to, method.path, method.interface, method.name, arguments, G_VARIANT_TYPE(answerType),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, limit.cancellable(), problem.out()));
}

std::optional<BusNamePresence> presenceOn(GDBusConnection* bus, const std::string& name,
                                          const CallLimit& limit, GlibFailure& problem) {
    const auto hasOwner =
        callSync(bus, busMethod("NameHasOwner"), g_variant_new("(s)", name.c_str()), "(b)", limit, problem);
    if (!hasOwner) {
        return std::nullopt;
    }
    gboolean owned = FALSE;
    g_variant_get(hasOwner.get(), "(b)", &owned);
    if (owned != FALSE) {
        return BusNamePresence::owned;
    }
    // The bus lists the services that it can start, whether they run or not.
    const auto names = callSync(bus, busMethod("ListActivatableNames"), nullptr, "(as)", limit, problem);
    if (!names) {
        return std::nullopt;
    }
    const Variant list(g_variant_get_child_value(names.get(), 0));
    GVariantIter entries;
    g_variant_iter_init(&entries, list.get());
    for (const char* entry = nullptr; g_variant_iter_next(&entries, "&s", &entry) != FALSE;) {
        if (name == entry) {
            return BusNamePresence::activatable;
        }
    }
    return BusNamePresence::absent;
}

Result<BusNamePresence> busNamePresence(const std::string& name, std::chrono::milliseconds limit) {
    const Asking asking(limit);
    GlibFailure problem;
    const auto presence = asking ? presenceOn(asking.bus(), name, asking.limit(), problem) : std::nullopt;
    return presence ? Result<BusNamePresence>(*presence) : asking.failed(problem);
}

Result<std::optional<std::uint32_t>> portalSettingsVersion(std::chrono::milliseconds limit) {
    const Asking asking(limit);
    GlibFailure problem;
    const auto presence =
        asking ? presenceOn(asking.bus(), portalName, asking.limit(), problem) : std::nullopt;
    if (!presence) {
        return asking.failed(problem);
    }
    if (*presence != BusNamePresence::owned) {
        return std::nullopt;
    }
    const auto answer = callSync(
        asking.bus(),
        {portalName, "/org/freedesktop/portal/desktop", "org.freedesktop.DBus.Properties", "Get"},
        g_variant_new("(ss)", "org.freedesktop.portal.Settings", "version"), "(v)", asking.limit(), problem);
    if (!answer) {
        // An error of the portal's means that it has no settings.
        return asking.limit().hasPassed() ? Result<std::optional<std::uint32_t>>(asking.failed(problem))
                                          : std::nullopt;
    }
    // A property comes in a variant of its own.
    GVariant* inner = nullptr;
    g_variant_get(answer.get(), "(v)", &inner);
    const Variant version(inner);
    return g_variant_is_of_type(version.get(), G_VARIANT_TYPE_UINT32) != FALSE
               ? std::optional(g_variant_get_uint32(version.get()))
               : std::nullopt;
}

}  // namespace tarn
