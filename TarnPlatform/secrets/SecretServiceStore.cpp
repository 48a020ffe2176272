#include "SecretServiceStore.h"

#include <libsecret/secret.h>

#include <memory>
#include <utility>

#include "PromptAwareService.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/bus/SessionBus.h"

namespace tarn {
namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";

struct ObjectListFree {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};
using ObjectList = std::unique_ptr<GList, ObjectListFree>;

struct SecretUnref {
    void operator()(gpointer value) const { secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, SecretUnref>;

struct TableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableUnref>;

const SecretSchema* schema() {
    static const SecretSchema* const made =
        secret_schema_new("com.ostrel.tarn", SECRET_SCHEMA_NONE, "service", SECRET_SCHEMA_ATTRIBUTE_STRING,
                          "account", SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr);
    return made;
}

std::unexpected<SecretError> fail(SecretFault fault, std::string description) {
    return std::unexpected(SecretError{fault, std::move(description)});
}

std::unexpected<SecretError> lockedFailure() {
    return fail(SecretFault::locked, "the keyring is locked");
}

std::unexpected<SecretError> asFailure(const GlibFailure& failure, const CallLimit& limit) {
    if (limit.hasPassed()) {
        return fail(SecretFault::timedOut, "the keyring does not answer");
    }
    if (failure.is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
        return lockedFailure();
    }
    for (const int code :
         {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER, G_DBUS_ERROR_NO_REPLY,
          G_DBUS_ERROR_DISCONNECTED, G_DBUS_ERROR_UNKNOWN_OBJECT, G_DBUS_ERROR_SPAWN_EXEC_FAILED,
          G_DBUS_ERROR_SPAWN_CHILD_EXITED, G_DBUS_ERROR_SPAWN_CHILD_SIGNALED}) {
        if (failure.is(G_DBUS_ERROR, code)) {
            return fail(SecretFault::unavailable, "the keyring went away: " + failure.text());
        }
    }
    if (failure.is(G_IO_ERROR, G_IO_ERROR_CLOSED)) {
        return fail(SecretFault::unavailable, "the keyring or the session bus went away");
    }
    return fail(SecretFault::refused, "the keyring refused: " + failure.text());
}

/// The connection that the library uses, too.
Owned<GDBusConnection> connectToBus(const CallLimit& limit) {
    if (!sessionBusAddress()) {
        return nullptr;
    }
    GlibFailure failure;
    Owned<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, limit.cancellable(), failure.out()));
    if (bus) {
        // By default the end of the bus would end this process.
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    }
    return bus;
}

SecretServicePresence servicePresence(GDBusConnection* bus, const CallLimit& limit) {
    GlibFailure failure;
    const auto presence = presenceOn(bus, serviceName, limit, failure);
    if (!presence) {
        return SecretServicePresence::unanswered;
    }
    switch (*presence) {
        case BusNamePresence::owned:
            return SecretServicePresence::owned;
        case BusNamePresence::activatable:
            return SecretServicePresence::activatable;
        default:
            return SecretServicePresence::absent;
    }
}

/// One conversation with the service: everything that a call needs, torn down in the order it must be.
class Conversation {
public:
    explicit Conversation(std::chrono::milliseconds limit) : limit_(limit) {}

    /// Waits until the service owns its name (the bus starts it where it can) and opens a session with it. No
    /// message goes to the name before that: it would start a second service beside one that is coming up.
    SecretResult<void> open() {
        bus_ = connectToBus(limit_);
        if (!bus_) {
            return limit_.hasPassed() ? fail(SecretFault::timedOut, "the session bus does not answer")
                                      : fail(SecretFault::unavailable, "there is no session bus");
        }
        GlibFailure failure;
        switch (servicePresence(bus_.get(), limit_)) {
            case SecretServicePresence::owned:
                break;
            case SecretServicePresence::activatable:
                if (!callSync(bus_.get(), busMethod("StartServiceByName"),
                              g_variant_new("(su)", serviceName, 0U), "(u)", limit_, failure)) {
                    return limit_.hasPassed() ? fail(SecretFault::timedOut, "the keyring does not start")
                                              : fail(SecretFault::unavailable,
                                                     "the keyring does not start: " + failure.text());
                }
                break;
            case SecretServicePresence::unanswered:
                return fail(SecretFault::timedOut, "the session bus does not answer");
            default:
                return fail(SecretFault::unavailable, "no keyring answers on the session bus");
        }
        service_.reset(secret_service_open_sync(promptAwareServiceType(), nullptr,
                                                SECRET_SERVICE_OPEN_SESSION, limit_.cancellable(),
                                                failure.out()));
        if (!service_) {
            return asFailure(failure, limit_);
        }
        attachLimit(G_OBJECT(service_.get()), limit_);
        return {};
    }

    /// Every item of that key, in all collections, locked ones included.
    SecretResult<ObjectList> find(const SecretKey& key, SecretSearchFlags extra) {
        GlibFailure failure;
        const auto wanted = attributes(key);
        // A C flag set. NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
        const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | extra);
        ObjectList items(secret_service_search_sync(service_.get(), schema(), wanted.get(), flags,
                                                    cancellable(), failure.out()));
        if (failure) {
            return asFailure(failure, limit_);
        }
        return items;
    }

    /// Asks the user, through the desktop's prompt, to unlock these items or collections. False: still
    /// locked.
    SecretResult<bool> unlock(GList* objects) {
        GlibFailure failure;
        const int unlocked =
            secret_service_unlock_sync(service_.get(), objects, cancellable(), nullptr, failure.out());
        if (failure && !failure.is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
            return asFailure(failure, limit_);
        }
        return unlocked > 0;
    }

    static Attributes attributes(const SecretKey& key) {
        return Attributes(secret_attributes_build(schema(), "service", key.service.c_str(), "account",
                                                  key.account.c_str(), nullptr));
    }

    SecretService* service() const { return service_.get(); }
    GCancellable* cancellable() const { return limit_.cancellable(); }
    const CallLimit& limit() const { return limit_; }

private:
    OwnMainContext context_;
    CallLimit limit_;
    Owned<GDBusConnection> bus_;
    Owned<SecretService> service_;
};

SecretItem* firstItem(const ObjectList& items, bool locked) {
    for (auto* entry = items.get(); entry != nullptr; entry = entry->next) {
        auto* const item = SECRET_ITEM(entry->data);
        if ((secret_item_get_locked(item) != FALSE) == locked) {
            return item;
        }
    }
    return nullptr;
}

SecretResult<std::optional<std::string>> secretOf(SecretItem* item) {
    const Value value(secret_item_get_secret(item));
    if (!value) {
        return fail(SecretFault::refused, "the keyring did not hand out the secret");
    }
    gsize length = 0;
    const char* const bytes = secret_value_get(value.get(), &length);
    return std::optional<std::string>(std::in_place, bytes, length);
}

SecretResult<std::optional<std::string>> getFrom(Conversation& keyring, const SecretKey& key,
                                                 std::atomic<bool>& promptDismissed) {
    const auto items = keyring.find(key, SECRET_SEARCH_LOAD_SECRETS);
    if (!items) {
        return std::unexpected(items.error());
    }
    if (auto* const item = firstItem(*items, false)) {
        return secretOf(item);
    }
    auto* const locked = firstItem(*items, true);
    if (locked == nullptr) {
        return std::nullopt;
    }
    if (promptDismissed) {
        return lockedFailure();
    }
    GList single{locked, nullptr, nullptr};
    const auto unlocked = keyring.unlock(&single);
    if (!unlocked) {
        return std::unexpected(unlocked.error());
    }
    if (!*unlocked) {
        promptDismissed = true;
        return lockedFailure();
    }
    GlibFailure failure;
    if (secret_item_load_secret_sync(locked, keyring.cancellable(), failure.out()) == FALSE) {
        return asFailure(failure, keyring.limit());
    }
    return secretOf(locked);
}

/// An older one in another collection could be found in place of what was just stored.
void removeOutside(Conversation& keyring, const SecretKey& key, const std::string& collection) {
    const auto items = keyring.find(key, SECRET_SEARCH_NONE);
    for (auto* entry = items ? items->get() : nullptr; entry != nullptr; entry = entry->next) {
        const std::string_view path = g_dbus_proxy_get_object_path(G_DBUS_PROXY(entry->data));
        GlibFailure failure;
        if (!path.starts_with(collection + "/")) {
            secret_item_delete_sync(SECRET_ITEM(entry->data), keyring.cancellable(), failure.out());
        }
    }
}

SecretResult<void> replaceIn(Conversation& keyring, const SecretKey& key, std::string_view value) {
    GlibFailure failure;
    const Owned<SecretCollection> collection(
        secret_collection_for_alias_sync(keyring.service(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                         keyring.cancellable(), failure.out()));
    // A keyring that was never used names a collection that is yet to be made; storing makes it, with a
    // prompt.
    if (failure && !failure.is(SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)) {
        return asFailure(failure, keyring.limit());
    }
    if (collection && secret_collection_get_locked(collection.get()) != FALSE) {
        GList single{collection.get(), nullptr, nullptr};
        const auto unlocked = keyring.unlock(&single);
        if (!unlocked) {
            return std::unexpected(unlocked.error());
        }
        if (!*unlocked) {
            return lockedFailure();
        }
    }
    const Value secret(secret_value_new(value.data(), static_cast<gssize>(value.size()), "text/plain"));
    const auto attributes = Conversation::attributes(key);
    const std::string label = key.service + " " + key.account;
    // Where the keyring was never used this makes its default collection, which shows a prompt.
    if (secret_service_store_sync(keyring.service(), schema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
                                  label.c_str(), secret.get(), keyring.cancellable(),
                                  failure.out()) == FALSE) {
        if (!collection && failure.is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
            return fail(SecretFault::locked, "the keyring was never set up, and its prompt was dismissed");
        }
        return asFailure(failure, keyring.limit());
    }
    if (collection) {
        removeOutside(keyring, key, g_dbus_proxy_get_object_path(G_DBUS_PROXY(collection.get())));
    }
    return {};
}

SecretResult<bool> removeFrom(Conversation& keyring, const SecretKey& key) {
    const auto items = keyring.find(key, SECRET_SEARCH_NONE);
    if (!items) {
        return std::unexpected(items.error());
    }
    if (!*items) {
        return false;
    }
    if (firstItem(*items, true) != nullptr) {
        const auto unlocked = keyring.unlock(items->get());
        if (!unlocked) {
            return std::unexpected(unlocked.error());
        }
    }
    bool anyLocked = false;
    for (auto* entry = items->get(); entry != nullptr; entry = entry->next) {
        GlibFailure failure;
        if (secret_item_delete_sync(SECRET_ITEM(entry->data), keyring.cancellable(), failure.out()) ==
            FALSE) {
            if (!failure.is(SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
                return asFailure(failure, keyring.limit());
            }
            anyLocked = true;
        }
    }
    if (anyLocked) {
        return lockedFailure();
    }
    return true;
}

}  // namespace

template <typename T>
SecretResult<T> SecretServiceStore::report(SecretResult<T> result) {
    const std::lock_guard lock(reportMutex_);
    const auto now = result ? std::nullopt : std::optional(result.error().fault);
    if (now && now != reported_) {
        logLine("[secrets] " + result.error().description);
    }
    reported_ = now;
    return result;
}

SecretResult<std::optional<std::string>> SecretServiceStore::peek(const SecretKey& key) {
    Conversation keyring(limit_);
    if (const auto opened = keyring.open(); !opened) {
        return std::unexpected(opened.error());
    }
    std::atomic<bool> promptDismissed{true};
    return getFrom(keyring, key, promptDismissed);
}

SecretResult<bool> SecretServiceStore::isLocked() const {
    Conversation keyring(limit_);
    if (const auto opened = keyring.open(); !opened) {
        return std::unexpected(opened.error());
    }
    GlibFailure failure;
    const Owned<SecretCollection> collection(
        secret_collection_for_alias_sync(keyring.service(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                         keyring.cancellable(), failure.out()));
    if (failure && !failure.is(SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)) {
        return asFailure(failure, keyring.limit());
    }
    return collection && secret_collection_get_locked(collection.get()) != FALSE;
}

SecretResult<std::optional<std::string>> SecretServiceStore::get(const SecretKey& key) {
    Conversation keyring(limit_);
    if (const auto opened = keyring.open(); !opened) {
        return report<std::optional<std::string>>(std::unexpected(opened.error()));
    }
    return report(getFrom(keyring, key, promptDismissed_));
}

SecretResult<void> SecretServiceStore::replace(const SecretKey& key, std::string_view value) {
    Conversation keyring(limit_);
    if (const auto opened = keyring.open(); !opened) {
        return report<void>(std::unexpected(opened.error()));
    }
    return report(replaceIn(keyring, key, value));
}

SecretResult<bool> SecretServiceStore::remove(const SecretKey& key) {
    Conversation keyring(limit_);
    if (const auto opened = keyring.open(); !opened) {
        return report<bool>(std::unexpected(opened.error()));
    }
    return report(removeFrom(keyring, key));
}

SecretServicePresence SecretServiceStore::presence(std::chrono::milliseconds limit) {
    const OwnMainContext context;
    const CallLimit watch(limit);
    const auto bus = connectToBus(watch);
    if (!bus) {
        return watch.hasPassed() ? SecretServicePresence::unanswered : SecretServicePresence::noBus;
    }
    return servicePresence(bus.get(), watch);
}

}  // namespace tarn
