#include "SecretServiceStore.h"

#include <libsecret/secret.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "CallLimit.h"
#include "PromptAwareService.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* busName = "org.freedesktop.DBus";

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using Object = std::unique_ptr<T, ObjectUnref>;

struct ObjectListFree {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};
using ObjectList = std::unique_ptr<GList, ObjectListFree>;

struct VariantUnref {
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

struct SecretUnref {
    void operator()(gpointer value) const { secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, SecretUnref>;

struct TableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableUnref>;

class Failure {
public:
    ~Failure() { g_clear_error(&error_); }
    Failure() = default;
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;
    GError** out() {
        g_clear_error(&error_);
        return &error_;
    }
    explicit operator bool() const { return error_ != nullptr; }
    bool is(GQuark domain, int code) const { return g_error_matches(error_, domain, code) != FALSE; }
    std::string text() const { return error_ == nullptr ? "no reason given" : error_->message; }

private:
    GError* error_ = nullptr;
};

/// Signals and idle work of one call run in a main context of its own, and end with it: the default context
/// may never be iterated in this process.
class OwnMainContext {
public:
    OwnMainContext() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
    ~OwnMainContext() {
        // What was subscribed is released by work posted here.
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }
    OwnMainContext(const OwnMainContext&) = delete;
    OwnMainContext& operator=(const OwnMainContext&) = delete;

private:
    GMainContext* context_;
};

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

std::unexpected<SecretError> asFailure(const Failure& failure, const CallLimit& limit) {
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

/// Connects to nothing that is not there: the library's own fallback would start a bus of its own.
bool busIsNamed() {
    if (const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
        address != nullptr && *address != '\0') {
        return true;
    }
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder == '\0') {
        return false;
    }
    struct stat status{};
    return ::stat((std::string(folder) + "/bus").c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

Object<GDBusConnection> connectToBus(const CallLimit& limit) {
    if (!busIsNamed()) {
        return nullptr;
    }
    Failure failure;
    Object<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, limit.cancellable(), failure.out()));
    if (bus) {
        // By default the end of the bus would end this process.
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    }
    return bus;
}

Variant askBus(GDBusConnection* bus, const char* method, GVariant* arguments, const char* answerType,
               const CallLimit& limit, Failure& failure) {
    return Variant(g_dbus_connection_call_sync(
        bus, busName, "/org/freedesktop/DBus", busName, method, arguments, G_VARIANT_TYPE(answerType),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, limit.cancellable(), failure.out()));
}

SecretServicePresence presenceOn(GDBusConnection* bus, const CallLimit& limit) {
    Failure failure;
    const auto hasOwner =
        askBus(bus, "NameHasOwner", g_variant_new("(s)", serviceName), "(b)", limit, failure);
    if (!hasOwner) {
        return SecretServicePresence::unanswered;
    }
    gboolean owned = FALSE;
    g_variant_get(hasOwner.get(), "(b)", &owned);
    if (owned != FALSE) {
        return SecretServicePresence::owned;
    }
    const auto names = askBus(bus, "ListActivatableNames", nullptr, "(as)", limit, failure);
    if (!names) {
        return SecretServicePresence::unanswered;
    }
    GVariantIter* iterator = nullptr;
    g_variant_get(names.get(), "(as)", &iterator);
    bool found = false;
    const char* name = nullptr;
    while (g_variant_iter_next(iterator, "&s", &name) != FALSE) {
        found = found || std::string_view(name) == serviceName;
    }
    g_variant_iter_free(iterator);
    return found ? SecretServicePresence::activatable : SecretServicePresence::absent;
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
        Failure failure;
        switch (presenceOn(bus_.get(), limit_)) {
            case SecretServicePresence::owned:
                break;
            case SecretServicePresence::activatable:
                if (!askBus(bus_.get(), "StartServiceByName", g_variant_new("(su)", serviceName, 0U), "(u)",
                            limit_, failure)) {
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
        Failure failure;
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
        Failure failure;
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
    Object<GDBusConnection> bus_;
    Object<SecretService> service_;
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
    Failure failure;
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
        Failure failure;
        if (!path.starts_with(collection + "/")) {
            secret_item_delete_sync(SECRET_ITEM(entry->data), keyring.cancellable(), failure.out());
        }
    }
}

SecretResult<void> replaceIn(Conversation& keyring, const SecretKey& key, std::string_view value) {
    Failure failure;
    const Object<SecretCollection> collection(
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
        Failure failure;
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
    Failure failure;
    const Object<SecretCollection> collection(
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
    return presenceOn(bus.get(), watch);
}

}  // namespace tarn
