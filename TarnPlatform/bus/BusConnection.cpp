#include "BusConnection.h"

#include "SessionBus.h"

namespace tarn {

/// A call that is under way.
struct BusConnection::Asked {
    BusConnection* bus;
    std::weak_ptr<const void> lifeline;
    Answered answered;
};

void BusConnection::serve() {
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
    for (const auto& [lifeline, connected] : std::exchange(waiting_, {})) {
        if (!lifeline.expired()) {
            connected(bus_.get(), whyNot_);
        }
    }
}

void BusConnection::whenConnected(const Lifeline& lifeline, Connected connected) {
    if (isConnecting_) {
        waiting_.emplace_back(lifeline, std::move(connected));
    } else {
        connected(bus_.get(), whyNot_);
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

}  // namespace tarn
