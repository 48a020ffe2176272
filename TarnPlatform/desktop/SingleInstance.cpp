#include "SingleInstance.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <string_view>
#include <utility>

#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds limit = std::chrono::seconds(2);
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

/// Whoever activates a desktop entry over D-Bus makes the path so: dots become slashes, and a hyphen, which a
/// path may not have, an underscore.
std::string objectPath(const std::string& applicationID) {
    std::string path = "/" + applicationID;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

constexpr guint32 somebodyElse = 3;  ///< has the name: an answer of RequestName

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

/// What the program shows of itself on the bus. Thread: the bus's, but for `call`.
class SingleInstance::Peer {
public:
    enum class Claim { primary, secondary, noBus };
    using Claimed = std::function<void(Claim claim, const std::string& whyNot)>;
    struct Calls {
        std::function<void()> activate;
        std::function<void(std::vector<std::string>)> open;
        std::function<void(std::string)> action;
    };

    /// `claimed` is called once, when it is known who has the name.
    Peer(BusConnection& bus, std::string name, Calls calls, Claimed claimed)
        : name_(std::move(name)),
          path_(objectPath(name_)),
          calls_(std::move(calls)),
          claimed_(std::move(claimed)),
          bus_(bus) {
        bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string& whyNot) {
            isConnected ? requestName() : claimed_(Claim::noBus, whyNot);
        });
    }
    ~Peer() {
        if (closed_ != 0) {
            g_signal_handler_disconnect(bus_.get(), closed_);
        }
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// `released` is called when all that came before has been posted.
    void release(std::function<void()> released);

    /// Calls the program that has the name, and waits for its answer. Requires: somebody else has it. Thread:
    /// any.
    Result<void> call(const char* method, GVariant* arguments) const;

private:
    void requestName();
    void haveAsked(const Variant& reply, const std::string& whyNot);
    void answer(std::string_view method, GVariant* arguments, GDBusMethodInvocation* invocation);

    const std::string name_;
    const std::string path_;
    const Calls calls_;
    const Claimed claimed_;
    BusConnection& bus_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    gulong closed_ = 0;
    BusConnection::Held object_;
    BusConnection::Held ownedName_;
};

// A name has one owner on the bus at any time, and the bus gives it back when its owner's connection ends,
// however that happens. So the name decides who is the primary, and no stale lock file can be left behind.
void SingleInstance::Peer::requestName() {
    // The object comes first, since whoever sees the name may call at once.
    object_ = bus_.serve(
        path_.c_str(), applicationInterface(),
        {.call = [this](std::string_view method, GVariant* arguments, GDBusMethodInvocation* invocation) {
            answer(method, arguments, invocation);
        }});
    if (!object_) {
        claimed_(Claim::noBus, "the object cannot be registered");
        return;
    }
    // Held from here on: where the bus answers too late, the name goes back, since nobody serves it.
    ownedName_ = bus_.ownName(name_, lifeline_, [this](const Variant& reply, const std::string& whyNot) {
        haveAsked(reply, whyNot);
    });
}

void SingleInstance::Peer::haveAsked(const Variant& reply, const std::string& whyNot) {
    guint32 outcome = 0;
    if (reply) {
        g_variant_get(reply.get(), "(u)", &outcome);
    }
    if (!reply || outcome == somebodyElse) {
        object_.reset();
        ownedName_.reset();
        claimed_(reply ? Claim::secondary : Claim::noBus, whyNot);
        return;
    }
    closed_ = g_signal_connect(
        bus_.get(), "closed", G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer) {
            logLine(
                "[desktop] the session bus is gone: other starts of this program no longer find this one");
        }),
        nullptr);
    claimed_(Claim::primary, {});
}

void SingleInstance::Peer::release(std::function<void()> released) {
    bus_.callBus("ReleaseName", g_variant_new("(s)", name_.c_str()), lifeline_,
                 [this, released = std::move(released)](const Variant&, const std::string&) {
                     // The bus delivers in order, so that every call to the name lies in the context by now;
                     // so does the end of the bus, where that is why there is an answer.
                     callOn(bus_.context(), released);
                 });
}

void SingleInstance::Peer::answer(std::string_view method, GVariant* arguments,
                                  GDBusMethodInvocation* invocation) {
    if (method == "Open") {
        auto urls = acceptableUrls(arguments);
        if (!urls) {
            g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS,
                                                          "too many addresses, or too long ones");
            return;
        }
        calls_.open(std::move(*urls));
    } else if (method == "ActivateAction") {
        const char* action = nullptr;
        g_variant_get_child(arguments, 0, "&s", &action);
        calls_.action(std::string(action).substr(0, longestAction));
    } else {
        calls_.activate();
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

Result<void> SingleInstance::Peer::call(const char* method, GVariant* arguments) const {
    GlibFailure problem;
    const Variant reply(g_dbus_connection_call_sync(
        bus_.get(), name_.c_str(), path_.c_str(), interfaceName, method, arguments, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(limit.count()), nullptr, problem.out()));
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

std::unique_ptr<SingleInstance> SingleInstance::claim(BusThread& bus, const std::string& applicationID,
                                                      const SerialExecutor& executor, Callbacks callbacks) {
    std::unique_ptr<SingleInstance> instance(
        new SingleInstance(bus, applicationID, executor, std::move(callbacks)));
    instance->claimName();
    return instance;
}

SingleInstance::SingleInstance(BusThread& bus, std::string applicationID, const SerialExecutor& executor,
                               Callbacks callbacks)
    : bus_(bus),
      name_(std::move(applicationID)),
      activate_(executor, std::move(callbacks.activate)),
      open_(executor, std::move(callbacks.open)),
      action_(executor, std::move(callbacks.action)) {}

void SingleInstance::claimName() {
    struct Outcome {
        Peer::Claim claim;
        std::string whyNot;
    };
    // Shared, because an answer may come when nobody waits any more.
    const auto promise = std::make_shared<std::promise<Outcome>>();
    bus_.post([this, promise](BusConnection& bus) {
        peer_ = std::make_unique<Peer>(
            bus, name_, Peer::Calls{activate_.poster(), open_.poster(), action_.poster()},
            [promise](Peer::Claim claim, const std::string& whyNot) { promise->set_value({claim, whyNot}); });
    });
    auto answer = promise->get_future();
    if (answer.wait_for(limit) != std::future_status::ready) {
        bus_.run([this](BusConnection&) { peer_.reset(); });
        logLine(
            "[desktop] the session bus does not answer: other starts of this program will not find this one");
        return;
    }
    const auto outcome = answer.get();
    if (outcome.claim == Peer::Claim::noBus) {
        logLine("[desktop] no session bus (" + outcome.whyNot +
                "): other starts of this program will not find this one");
    }
    isPrimary_ = outcome.claim != Peer::Claim::secondary;
    holdsName_ = outcome.claim == Peer::Claim::primary;
}

SingleInstance::~SingleInstance() {
    release();
    bus_.run([this](BusConnection&) { peer_.reset(); });
}

bool SingleInstance::isPrimary() const {
    return isPrimary_;
}

Result<void> SingleInstance::forward(const std::vector<std::string>& urls) {
    // The bus closes the connection of a client that sends a string which is not valid UTF-8.
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
    if (!std::exchange(holdsName_, false)) {
        return;
    }
    const auto released = std::make_shared<std::promise<void>>();
    bus_.post([this, released](BusConnection&) { peer_->release([released] { released->set_value(); }); });
    released->get_future().wait_for(limit);
}

}  // namespace tarn
