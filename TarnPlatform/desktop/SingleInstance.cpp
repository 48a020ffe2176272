#include "SingleInstance.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <future>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Utf8.h"
#include "TarnPlatform/bus/SessionBus.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds limit{2};
constexpr int limitMs = 2000;
constexpr std::size_t longestAction = 256;

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* interfaceDescription = R"(<node><interface name="org.freedesktop.Application">
  <method name="Activate"><arg type="a{sv}" name="platform_data" direction="in"/></method>
  <method name="Open"><arg type="as" name="uris" direction="in"/>
    <arg type="a{sv}" name="platform_data" direction="in"/></method>
  <method name="ActivateAction"><arg type="s" name="action_name" direction="in"/>
    <arg type="av" name="parameter" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/></method>
</interface></node>)";

GDBusInterfaceInfo* applicationInterface() {
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(interfaceDescription, nullptr);
    return node->interfaces[0];
}

std::string objectPath(const std::string& applicationID) {
    std::string path = "/" + applicationID;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

/// The answer of RequestName.
enum NameReply : guint32 { primaryOwner = 1, exists = 3 };
constexpr guint32 doNotQueue = 4;

Variant callBus(GDBusConnection* bus, const char* method, GVariant* arguments, GCancellable* cancellable,
                GlibFailure& problem) {
    return Variant(g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments,
        G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, limitMs, cancellable, problem.out()));
}

GVariant* noPlatformData() {
    return g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0);
}

std::optional<std::vector<std::string>> acceptableUrls(GVariant* arguments) {
    const Variant list(g_variant_get_child_value(arguments, 0));
    if (g_variant_n_children(list.get()) > SingleInstance::mostUrls) {
        return std::nullopt;
    }
    std::vector<std::string> urls;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, list.get());
    for (const char* url = nullptr; g_variant_iter_next(&iterator, "&s", &url) != FALSE;) {
        urls.emplace_back(url);
        if (urls.back().size() > SingleInstance::longestUrl) {
            return std::nullopt;
        }
    }
    return urls;
}

}  // namespace

/// The connection and its thread. Shared with the thread, which a bus that hangs may hold longer than the
/// owner waits.
class SingleInstance::Peer {
public:
    Peer(std::string applicationID, SerialExecutor executor, Callbacks callbacks)
        : name_(std::move(applicationID)),
          path_(objectPath(name_)),
          executor_(std::move(executor)),
          callbacks_(std::make_shared<Callbacks>(std::move(callbacks))) {}
    ~Peer() { g_main_context_unref(context_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    static void start(const std::shared_ptr<Peer>& peer);
    void stop();

    bool isPrimary() const { return isPrimary_; }
    Result<void> call(const char* method, GVariant* arguments);
    void release();

private:
    enum class Claim { primary, secondary, noBus };

    void runThread(std::promise<Claim> claimed);
    Claim claimName();
    bool registerObject();
    void serve();
    void answer(const char* method, GVariant* arguments, GDBusMethodInvocation* invocation);

    // Fixed at birth.
    const std::string name_;
    const std::string path_;
    const SerialExecutor executor_;
    GMainContext* const context_ = g_main_context_new();
    const Owned<GCancellable> cancellable_{g_cancellable_new()};

    // The executor's. What is posted holds it weakly: with the owner gone, nothing is called.
    std::shared_ptr<Callbacks> callbacks_;
    bool isPrimary_ = true;
    bool holdsName_ = false;
    std::thread thread_;

    // Set by the thread before it reports the claim, and only read after that.
    Owned<GDBusConnection> bus_;
    std::weak_ptr<Callbacks> posted_;
    std::string whyNot_;

    // The thread's own.
    guint object_ = 0;
    bool isOver_ = false;
};

void SingleInstance::Peer::start(const std::shared_ptr<Peer>& peer) {
    peer->posted_ = peer->callbacks_;
    std::promise<Claim> promise;
    auto claimed = promise.get_future();
    peer->thread_ =
        std::thread([peer, promise = std::move(promise)]() mutable { peer->runThread(std::move(promise)); });
    if (claimed.wait_for(limit) != std::future_status::ready) {
        g_cancellable_cancel(peer->cancellable_.get());
        peer->thread_.detach();
        logLine(
            "[desktop] the session bus does not answer: other starts of this program will not find this one");
        return;
    }
    const auto claim = claimed.get();
    if (claim == Claim::noBus) {
        logLine("[desktop] no session bus (" + peer->whyNot_ +
                "): other starts of this program will not find this one");
    }
    peer->isPrimary_ = claim != Claim::secondary;
    peer->holdsName_ = claim == Claim::primary;
}

void SingleInstance::Peer::runThread(std::promise<Claim> claimed) {
    g_main_context_push_thread_default(context_);
    const auto claim = claimName();
    claimed.set_value(claim);
    if (claim == Claim::primary) {
        serve();
    }
    if (object_ != 0) {
        g_dbus_connection_unregister_object(bus_.get(), object_);
    }
    // What the connection still has for this thread.
    while (g_main_context_iteration(context_, FALSE) != FALSE) {
    }
    g_main_context_pop_thread_default(context_);
}

SingleInstance::Peer::Claim SingleInstance::Peer::claimName() {
    bus_ = connectToSessionBus(cancellable_.get(), whyNot_);
    if (!bus_) {
        return Claim::noBus;
    }
    // The object first: whoever sees the name may call at once.
    if (!registerObject()) {
        whyNot_ = "the object cannot be registered";
        return Claim::noBus;
    }
    GlibFailure problem;
    const auto reply = callBus(bus_.get(), "RequestName", g_variant_new("(su)", name_.c_str(), doNotQueue),
                               cancellable_.get(), problem);
    if (!reply) {
        whyNot_ = problem.text();
        return Claim::noBus;
    }
    guint32 answer = 0;
    g_variant_get(reply.get(), "(u)", &answer);
    return answer == NameReply::exists ? Claim::secondary : Claim::primary;
}

bool SingleInstance::Peer::registerObject() {
    static const GDBusInterfaceVTable table = {
        [](GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/, const char* /*interface*/,
           const char* method, GVariant* arguments, GDBusMethodInvocation* invocation,
           gpointer self) { static_cast<Peer*>(self)->answer(method, arguments, invocation); },
        nullptr,
        nullptr,
        {}};
    object_ = g_dbus_connection_register_object(bus_.get(), path_.c_str(), applicationInterface(), &table,
                                                this, nullptr, nullptr);
    return object_ != 0;
}

void SingleInstance::Peer::serve() {
    const auto closed = g_signal_connect(
        bus_.get(), "closed", G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer) {
            logLine(
                "[desktop] the session bus is gone: other starts of this program no longer find this one");
        }),
        nullptr);
    while (!isOver_) {
        g_main_context_iteration(context_, TRUE);
    }
    g_signal_handler_disconnect(bus_.get(), closed);
}

void SingleInstance::Peer::answer(const char* method, GVariant* arguments,
                                  GDBusMethodInvocation* invocation) {
    const std::string_view name(method);
    if (name == "Open") {
        auto urls = acceptableUrls(arguments);
        if (!urls) {
            g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS,
                                                          "too many addresses, or too long ones");
            return;
        }
        asio::post(executor_, [weak = posted_, urls = std::move(*urls)]() mutable {
            if (const auto callbacks = weak.lock(); callbacks && callbacks->open) {
                callbacks->open(std::move(urls));
            }
        });
    } else if (name == "ActivateAction") {
        const char* action = nullptr;
        g_variant_get_child(arguments, 0, "&s", &action);
        asio::post(executor_, [weak = posted_, action = std::string(action).substr(0, longestAction)] {
            if (const auto callbacks = weak.lock(); callbacks && callbacks->action) {
                callbacks->action(action);
            }
        });
    } else {
        asio::post(executor_, [weak = posted_] {
            if (const auto callbacks = weak.lock(); callbacks && callbacks->activate) {
                callbacks->activate();
            }
        });
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

Result<void> SingleInstance::Peer::call(const char* method, GVariant* arguments) {
    GlibFailure problem;
    const Variant reply(g_dbus_connection_call_sync(
        bus_.get(), name_.c_str(), path_.c_str(), interfaceName, method, arguments, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, limitMs, nullptr, problem.out()));
    if (reply) {
        return {};
    }
    if (problem.is(G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) {
        return failure(ErrorKind::timeout, "the running program does not answer");
    }
    if (problem.is(G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS)) {
        return failure(ErrorKind::invalidInput, "the running program refused the address");
    }
    return failure(ErrorKind::unavailable, "the running program is gone");
}

void SingleInstance::Peer::release() {
    if (!std::exchange(holdsName_, false)) {
        return;
    }
    const auto released = std::make_shared<std::promise<void>>();
    callOn(context_, [this, released] {
        GlibFailure problem;
        const auto reply =
            callBus(bus_.get(), "ReleaseName", g_variant_new("(s)", name_.c_str()), nullptr, problem);
        // What came before the answer lies in the context by now.
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        released->set_value();
    });
    released->get_future().wait_for(limit);
}

void SingleInstance::Peer::stop() {
    release();
    callbacks_.reset();
    if (thread_.joinable()) {
        callOn(context_, [this] { isOver_ = true; });
        thread_.join();
    }
}

std::unique_ptr<SingleInstance> SingleInstance::claim(const std::string& applicationID,
                                                      SerialExecutor executor, Callbacks callbacks) {
    const auto peer = std::make_shared<Peer>(applicationID, std::move(executor), std::move(callbacks));
    Peer::start(peer);
    return std::unique_ptr<SingleInstance>(new SingleInstance(peer));
}

SingleInstance::SingleInstance(std::shared_ptr<Peer> peer) : peer_(std::move(peer)) {}

SingleInstance::~SingleInstance() {
    peer_->stop();
}

bool SingleInstance::isPrimary() const {
    return peer_->isPrimary();
}

Result<void> SingleInstance::forward(const std::vector<std::string>& urls) {
    // The bus takes valid UTF-8 only, and would close the connection over anything else.
    const auto isText = [](const std::string& url) { return isUtf8(url) && !url.contains('\0'); };
    if (!std::ranges::all_of(urls, isText)) {
        return failure(ErrorKind::invalidInput, "the address is not text in UTF-8");
    }
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("as"));
    for (const auto& url : urls) {
        g_variant_builder_add(&list, "s", url.c_str());
    }
    return peer_->call("Open", g_variant_new("(as@a{sv})", &list, noPlatformData()));
}

Result<void> SingleInstance::activate() {
    return peer_->call("Activate", g_variant_new("(@a{sv})", noPlatformData()));
}

void SingleInstance::release() {
    peer_->release();
}

}  // namespace tarn
