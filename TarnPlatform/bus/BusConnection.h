#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Glib.h"

namespace tarn {

/// The connection to a bus, as the parts on a `BusThread` see it. That thread has its main context
/// as its default, so that signals and incoming calls arrive on it. Thread: that one.
class BusConnection {
public:
    /// Held by whoever asks. When the last copy is gone, what was asked for is not answered any more.
    using Lifeline = std::shared_ptr<const void>;
    static Lifeline newLifeline() { return std::make_shared<char>(); }

    /// `address`: of the bus; nothing where there is none.
    explicit BusConnection(std::optional<std::string> address) : address_(std::move(address)) {}
    ~BusConnection() { g_main_context_unref(context_); }
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    /// Where there is no connection, `whyNot` says why.
    using Connected = std::function<void(bool isConnected, const std::string& whyNot)>;
    /// Calls `connected` as soon as it is known whether there is a connection, which may be at once.
    void whenConnected(const Lifeline& lifeline, Connected connected);

    struct Call {
        const char* to;  ///< a name on the bus
        const char* path;
        const char* interface;
        const char* method;
        GVariant* arguments = nullptr;     ///< consumed where it is floating
        const char* answerType = nullptr;  ///< an answer of another type counts as a failure; null: any type
        GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NO_AUTO_START;
        std::chrono::milliseconds limit =
            std::chrono::seconds(10);  ///< the bus may have to start the service
    };
    /// Where there is no answer `reply` is null, and `whyNot` says why.
    using Answered = std::function<void(const Variant& reply, const std::string& whyNot)>;

    // What follows requires that there is a connection, which may have ended.

    /// Calls `answered` once, later.
    void call(const Call& wanted, const Lifeline& lifeline, Answered answered);
    /// For a call whose answer nobody needs.
    void call(const Call& wanted) { call(wanted, nullptr, {}); }
    /// Calls a method of the bus itself whose answer is a number.
    void callBus(const char* method, GVariant* arguments, const Lifeline& lifeline, Answered answered);

    /// Undoes, when the last copy is gone, what the function did that returned it.
    using Held = std::shared_ptr<void>;

    /// `received` gets the path of the sending object. `path`: null for any object. `type`: of the arguments;
    /// signals of another type are passed over; null: any type.
    Held listen(const char* sender, const char* interface, const char* signal, const char* path,
                const char* type, std::function<void(std::string_view path, GVariant* arguments)> received);

    /// Says now and at each change whether somebody has the name. `flags` may have the bus start a service.
    Held watchName(const char* name, GBusNameWatcherFlags flags, std::function<void(bool isThere)> changed);

    /// Asks for a name. The answer is 1 for the one who has it now and 3 where somebody else has it.
    Held ownName(const std::string& name, const Lifeline& lifeline, Answered answered);

    struct Object {
        /// Must answer the invocation.
        std::function<void(std::string_view method, GVariant* arguments, GDBusMethodInvocation* invocation)>
            call;
        std::function<GVariant*(std::string_view name)> property = {};
    };
    /// Serves an object at `path`; null where there is one already.
    Held serve(const char* path, GDBusInterfaceInfo* interface, Object object);

    void emit(const char* path, const char* interface, const char* signal, GVariant* arguments);

    GDBusConnection* get() const { return bus_.get(); }

    // For the `BusThread`.

    GMainContext* context() const { return context_; }
    /// Connects, and runs the main context until `end` and until nothing is under way.
    void runThread();
    /// Cancels what is under way.
    void end();

private:
    struct Asked;
    void connect();
    void haveConnected(Owned<GDBusConnection> bus, std::string whyNot);

    const std::optional<std::string> address_;
    GMainContext* const context_ = g_main_context_new();
    const Owned<GCancellable> cancellable_{g_cancellable_new()};
    Owned<GDBusConnection> bus_;
    bool isConnecting_ = true;
    std::string whyNot_;
    std::vector<std::pair<std::weak_ptr<const void>, Connected>> waiting_;  ///< for the connection
    int underWay_ = 0;  ///< operations that GLib has not called back for yet
    bool isOver_ = false;
};

}  // namespace tarn
