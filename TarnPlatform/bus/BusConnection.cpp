#include "BusConnection.h"

#include "SessionBus.h"

namespace tarn {
namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

/// The functions that GLib calls hold what they need in such an object, and have it freed by `freed`.
template <typename T>
T& dataOf(gpointer data) {
    return *static_cast<T*>(data);
}
template <typename T>
void freed(gpointer data) {
    delete static_cast<T*>(data);
}

}  // namespace

/// A call that is under way.
struct BusConnection::Asked {
    BusConnection* bus;
    std::weak_ptr<const void> lifeline;
    Answered answered;
};

void BusConnection::runThread() {
    g_main_context_push_thread_default(context_);
    connect();
    // GLib calls back for each operation, cancelled ones included, and needs the context for that.
    while (!isOver_ || underWay_ > 0) {
        g_main_context_iteration(context_, TRUE);
    }
    bus_.reset();
    while (g_main_context_iteration(context_, FALSE) != FALSE) {
    }
    g_main_context_pop_thread_default(context_);
}

void BusConnection::end() {
    isOver_ = true;
    g_cancellable_cancel(cancellable_.get());
}

void BusConnection::connect() {
    if (!address_) {
        haveConnected(nullptr, "there is none");
        return;
    }
    ++underWay_;
    g_dbus_connection_new_for_address(
        address_->c_str(), ownConnectionFlags(), nullptr, cancellable_.get(),
        [](GObject*, GAsyncResult* result, gpointer data) {
            auto* const self = static_cast<BusConnection*>(data);
            --self->underWay_;
            GlibFailure problem;
            Owned<GDBusConnection> bus(g_dbus_connection_new_for_address_finish(result, problem.out()));
            self->haveConnected(std::move(bus), problem.text());
        },
        this);
}

void BusConnection::haveConnected(Owned<GDBusConnection> bus, std::string whyNot) {
    isConnecting_ = false;
    bus_ = std::move(bus);
    whyNot_ = std::move(whyNot);
    // Taken out first, because a part may ask again while it is called.
    for (const auto& [lifeline, connected] : std::exchange(waiting_, {})) {
        if (!lifeline.expired()) {
            connected(bus_ != nullptr, whyNot_);
        }
    }
}

void BusConnection::whenConnected(const Lifeline& lifeline, Connected connected) {
    if (isConnecting_) {
        waiting_.emplace_back(lifeline, std::move(connected));
    } else {
        connected(bus_ != nullptr, whyNot_);
    }
}

void BusConnection::call(const Call& wanted, const Lifeline& lifeline, Answered answered) {
    ++underWay_;
    g_dbus_connection_call(
        bus_.get(), wanted.to, wanted.path, wanted.interface, wanted.method, wanted.arguments,
        wanted.answerType == nullptr ? nullptr : G_VARIANT_TYPE(wanted.answerType), wanted.flags,
        static_cast<int>(wanted.limit.count()), cancellable_.get(),
        [](GObject* bus, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
            --asked->bus->underWay_;
            GlibFailure problem;
            const Variant reply(g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection*>(bus), result,
                                                              problem.out()));
            if (!asked->lifeline.expired()) {
                asked->answered(reply, problem.text());
            }
        },
        new Asked{this, lifeline, std::move(answered)});
}

void BusConnection::callBus(const char* method, GVariant* arguments, const Lifeline& lifeline,
                            Answered answered) {
    call({busName, busPath, busName, method, arguments, "(u)", G_DBUS_CALL_FLAGS_NO_AUTO_START,
          std::chrono::seconds(2)},
         lifeline, std::move(answered));
}

// The part may drop what it holds from within its own function: GLib frees the function later, from the
// context, and calls it no more from now on.
BusConnection::Held BusConnection::listen(const char* sender, const char* interface, const char* signal,
                                          const char* path, const char* type,
                                          std::function<void(std::string_view, GVariant*)> received) {
    struct Listener {
        const char* type;
        std::function<void(std::string_view, GVariant*)> received;
    };
    const auto id = g_dbus_connection_signal_subscribe(
        bus_.get(), sender, interface, signal, path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char* from, const char*, const char*, GVariant* arguments,
           gpointer data) {
            const auto& listener = dataOf<Listener>(data);
            if (listener.type == nullptr ||
                g_variant_is_of_type(arguments, G_VARIANT_TYPE(listener.type)) != FALSE) {
                listener.received(from, arguments);
            }
        },
        new Listener{type, std::move(received)}, freed<Listener>);
    return {nullptr, [this, id](void*) { g_dbus_connection_signal_unsubscribe(bus_.get(), id); }};
}

BusConnection::Held BusConnection::watchName(const char* name, GBusNameWatcherFlags flags,
                                             std::function<void(bool)> changed) {
    using Changed = std::function<void(bool)>;
    const auto id = g_bus_watch_name_on_connection(
        bus_.get(), name, flags,
        [](GDBusConnection*, const char*, const char*, gpointer data) { dataOf<Changed>(data)(true); },
        [](GDBusConnection*, const char*, gpointer data) { dataOf<Changed>(data)(false); },
        new Changed(std::move(changed)), freed<Changed>);
    return {nullptr, [id](void*) { g_bus_unwatch_name(id); }};
}

// Not by GLib's own function, which waits for the bus when it gives a name back.
BusConnection::Held BusConnection::ownName(const std::string& name, const Lifeline& lifeline,
                                           Answered answered) {
    constexpr guint32 doNotQueue = 4;
    callBus("RequestName", g_variant_new("(su)", name.c_str(), doNotQueue), lifeline, std::move(answered));
    return {nullptr,
            [this, name](void*) { callBus("ReleaseName", g_variant_new("(s)", name.c_str()), nullptr, {}); }};
}

BusConnection::Held BusConnection::serve(const char* path, GDBusInterfaceInfo* interface, Object object) {
    static const GDBusInterfaceVTable table = {
        [](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
           GDBusMethodInvocation* invocation,
           gpointer data) { dataOf<Object>(data).call(method, arguments, invocation); },
        [](GDBusConnection*, const char*, const char*, const char*, const char* name, GError**,
           gpointer data) { return dataOf<Object>(data).property(name); },
        nullptr,
        {}};
    const auto id = g_dbus_connection_register_object(bus_.get(), path, interface, &table,
                                                      new Object(std::move(object)), freed<Object>, nullptr);
    if (id == 0) {
        return nullptr;
    }
    return {this, [id](void* self) {
                g_dbus_connection_unregister_object(static_cast<BusConnection*>(self)->bus_.get(), id);
            }};
}

void BusConnection::emit(const char* path, const char* interface, const char* signal, GVariant* arguments) {
    g_dbus_connection_emit_signal(bus_.get(), nullptr, path, interface, signal, arguments, nullptr);
}

}  // namespace tarn
