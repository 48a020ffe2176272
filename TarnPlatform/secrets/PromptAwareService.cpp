#include "PromptAwareService.h"

#include <libsecret/secret.h>

#include <string>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr const char* limitKey = "tarn-call-limit";
constexpr const char* promptInterface = "org.freedesktop.Secret.Prompt";
constexpr guint busCheckSeconds = 1;

void freeVariant(gpointer value) {
    g_variant_unref(static_cast<GVariant*>(value));
}

/// The wait for one prompt. Everything happens in the main context that was the thread's default at the
/// start.
///
/// A prompt is an object of the service's: the call "Prompt" has it shown, and its signal "Completed" tells
/// how it ended. The service may be killed or stopped at any moment between the two, and then no signal
/// comes. So the wait also ends when the service's name changes its owner, when the bus is gone, and when the
/// call is cancelled. Ownership: the task's data, freed with it.
class PromptWait {
public:
    static void start(SecretService* service, SecretPrompt* prompt, GCancellable* cancellable,
                      GAsyncReadyCallback callback, gpointer data) {
        auto* const task = g_task_new(service, cancellable, callback, data);
        auto* const wait = new PromptWait(task, service, prompt);
        g_task_set_task_data(task, wait, [](gpointer self) { delete static_cast<PromptWait*>(self); });
        wait->begin(cancellable);
    }

    PromptWait(const PromptWait&) = delete;
    PromptWait& operator=(const PromptWait&) = delete;

private:
    PromptWait(GTask* task, SecretService* service, SecretPrompt* prompt)
        : task_(task),
          limit_(static_cast<CallLimit*>(g_object_get_data(G_OBJECT(service), limitKey))),
          connection_(G_DBUS_CONNECTION(g_object_ref(g_dbus_proxy_get_connection(G_DBUS_PROXY(service))))),
          serviceName_(g_dbus_proxy_get_name(G_DBUS_PROXY(service))),
          owner_(ownerOf(service)),
          path_(g_dbus_proxy_get_object_path(G_DBUS_PROXY(prompt))) {}

    static std::string ownerOf(SecretService* service) {
        const Text owner(g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service)));
        return owner ? owner.get() : "";
    }

    void begin(GCancellable* cancellable) {
        if (owner_.empty()) {
            g_task_return_new_error(task_, G_IO_ERROR, G_IO_ERROR_CLOSED, "the keyring went away");
            g_object_unref(task_);
            return;
        }
        // Both subscriptions come before the call, because the prompt may complete, or the service die,
        // before the call is answered. They name the owner's unique name: GLib delivers signals under a
        // well-known name only after it has looked up who owns it, which may be later.
        completed_ = g_dbus_connection_signal_subscribe(connection_.get(), owner_.c_str(), promptInterface,
                                                        "Completed", path_.c_str(), nullptr,
                                                        G_DBUS_SIGNAL_FLAGS_NONE, onCompleted, this, nullptr);
        ownerChanged_ = g_dbus_connection_signal_subscribe(
            connection_.get(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
            "/org/freedesktop/DBus", serviceName_.c_str(), G_DBUS_SIGNAL_FLAGS_NONE, onOwnerChanged, this,
            nullptr);
        if (cancellable != nullptr) {
            cancelled_ = g_cancellable_source_new(cancellable);
            attach(cancelled_, G_SOURCE_FUNC(+[](GCancellable* /*source*/, gpointer self) -> gboolean {
                       static_cast<PromptWait*>(self)->fail(G_IO_ERROR_CANCELLED,
                                                            "the keyring's prompt took too long");
                       return G_SOURCE_CONTINUE;
                   }));
        }
        // The end of the connection is a signal too, but GLib emits it in the context in which the connection
        // was made, which nobody may run. So the connection is looked at every second.
        busCheck_ = g_timeout_source_new_seconds(busCheckSeconds);
        attach(
            busCheck_, +[](gpointer self) -> gboolean {
                auto* const wait = static_cast<PromptWait*>(self);
                if (g_dbus_connection_is_closed(wait->connection_.get()) != FALSE) {
                    wait->fail(G_IO_ERROR_CLOSED, "the session bus went away");
                }
                return G_SOURCE_CONTINUE;
            });
        g_dbus_connection_call(connection_.get(), owner_.c_str(), path_.c_str(), promptInterface, "Prompt",
                               g_variant_new("(s)", ""), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1,
                               cancellable, onShown, g_object_ref(task_));
    }

    void attach(GSource* source, GSourceFunc call) {
        g_source_set_callback(source, call, this, nullptr);
        g_source_attach(source, g_task_get_context(task_));
    }

    /// The answer to "Prompt". Nothing else ends the wait before it, so that no call of this wait is left
    /// behind; a cancelled call, a dead service and a dead bus all answer with an error.
    static void onShown(GObject* bus, GAsyncResult* result, gpointer data) {
        auto* const task = static_cast<GTask*>(data);
        auto* const wait = static_cast<PromptWait*>(g_task_get_task_data(task));
        GError* error = nullptr;
        auto* const answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error);
        if (answer == nullptr) {
            wait->end();
            g_task_return_error(task, error);
            g_object_unref(task);
        } else {
            g_variant_unref(answer);
            wait->isShown_ = true;
            logLine("[secrets] the keyring waits to be unlocked: its prompt is open on the desktop");
            if (wait->limit_ != nullptr) {
                wait->limit_->promptBegins();
            }
            if (wait->earlyCompletion_) {
                wait->complete(wait->earlyCompletion_.get());
            }
        }
        g_object_unref(task);
    }

    static void onCompleted(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                            const char* /*interface*/, const char* /*signal*/, GVariant* parameters,
                            gpointer self) {
        auto* const wait = static_cast<PromptWait*>(self);
        if (wait->isOver_ || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(bv)"))) {
            return;
        }
        if (wait->isShown_) {
            wait->complete(parameters);
        } else if (!wait->earlyCompletion_) {
            wait->earlyCompletion_.reset(g_variant_ref(parameters));
        }
    }

    void complete(GVariant* parameters) {
        gboolean dismissed = FALSE;
        GVariant* outcome = nullptr;
        g_variant_get(parameters, "(bv)", &dismissed, &outcome);
        end();
        if (dismissed != FALSE) {
            g_task_return_new_error(task_, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, "the prompt was dismissed");
        } else {
            g_task_return_pointer(task_, g_variant_ref(outcome), freeVariant);
        }
        g_variant_unref(outcome);
        g_object_unref(task_);
    }

    static void onOwnerChanged(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                               const char* /*interface*/, const char* /*signal*/, GVariant* /*parameters*/,
                               gpointer self) {
        static_cast<PromptWait*>(self)->fail(G_IO_ERROR_CLOSED, "the keyring went away");
    }

    void fail(int code, const char* reason) {
        if (isOver_ || !isShown_) {
            return;
        }
        end();
        g_task_return_new_error(task_, G_IO_ERROR, code, "%s", reason);
        g_object_unref(task_);
    }

    void end() {
        isOver_ = true;
        if (isShown_ && limit_ != nullptr) {
            limit_->promptEnds();
        }
        g_dbus_connection_signal_unsubscribe(connection_.get(), completed_);
        g_dbus_connection_signal_unsubscribe(connection_.get(), ownerChanged_);
        for (auto* const source : {cancelled_, busCheck_}) {
            if (source != nullptr) {
                g_source_destroy(source);
                g_source_unref(source);
            }
        }
    }

    GTask* const task_;  ///< holds this object
    CallLimit* const limit_;
    const Owned<GDBusConnection> connection_;
    const std::string serviceName_;
    const std::string owner_;  ///< the service's unique name on the bus
    const std::string path_;
    guint completed_ = 0;
    guint ownerChanged_ = 0;
    GSource* cancelled_ = nullptr;
    GSource* busCheck_ = nullptr;
    Variant earlyCompletion_;  ///< the signal, where it came before the answer
    bool isShown_ = false;
    bool isOver_ = false;
};

constexpr const char* typeKey = "tarn-return-type";

void promptAsync(SecretService* service, SecretPrompt* prompt, const GVariantType* returnType,
                 GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
    g_object_set_data_full(G_OBJECT(service), typeKey,
                           returnType != nullptr ? g_variant_type_copy(returnType) : nullptr,
                           [](gpointer type) { g_variant_type_free(static_cast<GVariantType*>(type)); });
    PromptWait::start(service, prompt, cancellable, callback, data);
}

GVariant* promptFinish(SecretService* service, GAsyncResult* result, GError** error) {
    auto* const outcome = static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
    const auto* const type = static_cast<const GVariantType*>(g_object_get_data(G_OBJECT(service), typeKey));
    if (outcome != nullptr && type != nullptr && g_variant_is_of_type(outcome, type) == FALSE) {
        g_variant_unref(outcome);
        g_set_error_literal(error, SECRET_ERROR, SECRET_ERROR_PROTOCOL,
                            "the prompt's outcome makes no sense");
        return nullptr;
    }
    return outcome;
}

GVariant* promptSync(SecretService* service, SecretPrompt* prompt, GCancellable* cancellable,
                     const GVariantType* returnType, GError** error) {
    const OwnMainContext context;
    Owned<GAsyncResult> result;
    promptAsync(
        service, prompt, returnType, cancellable,
        [](GObject* /*service*/, GAsyncResult* finished, gpointer data) {
            static_cast<Owned<GAsyncResult>*>(data)->reset(G_ASYNC_RESULT(g_object_ref(finished)));
        },
        &result);
    while (!result) {
        g_main_context_iteration(g_main_context_get_thread_default(), TRUE);
    }
    return promptFinish(service, result.get(), error);
}

void initialiseClass(gpointer type, gpointer /*data*/) {
    auto* const own = static_cast<SecretServiceClass*>(type);
    own->prompt_async = promptAsync;
    own->prompt_finish = promptFinish;
    own->prompt_sync = promptSync;
}

}  // namespace

GType promptAwareServiceType() {
    static const GType type = [] {
        GTypeQuery parent{};
        g_type_query(SECRET_TYPE_SERVICE, &parent);
        // A subclass is the library's own way to replace how it waits; it has no fields of its own, so that
        // its sizes are the parent's.
        return g_type_register_static_simple(SECRET_TYPE_SERVICE, "TarnSecretService", parent.class_size,
                                             initialiseClass, parent.instance_size, nullptr, GTypeFlags{});
    }();
    return type;
}

void attachLimit(GObject* service, CallLimit& limit) {
    g_object_set_data(service, limitKey, &limit);
}

}  // namespace tarn
