#include "PrivateKeyring.h"

#include <libsecret/secret.h>
#include <signal.h>
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif
#endif

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "TarnPlatform/bus/SessionBus.h"

namespace tarn::test {
namespace {

/// Memory that is taken while it lives is no leak of ours.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
using LeaksOfLibraries = __lsan::ScopedDisabler;
#define TARN_LEAKS_OF_LIBRARIES
#endif
#endif
#ifndef TARN_LEAKS_OF_LIBRARIES
struct LeaksOfLibraries {
    LeaksOfLibraries() {}  // not trivial, so that no compiler calls it unused
};
#endif

constexpr const char* serviceName = "org.freedesktop.secrets";

[[noreturn]] void failSetup(const std::string& what) {
    throw std::runtime_error("private keyring: " + what);
}

Owned<GDBusConnection> connect() {
    std::string whyNot;
    auto bus = connectToSessionBus(nullptr, whyNot);
    if (!bus) {
        failSetup("cannot reach the bus: " + whyNot);
    }
    return bus;
}

/// The answer printed as text, or an empty string for an error.
std::string call(GDBusConnection* bus, const char* name, const char* path, const char* interface,
                 const char* method, GVariant* arguments) {
    const Variant answer(g_dbus_connection_call_sync(bus, name, path, interface, method, arguments, nullptr,
                                                     G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, nullptr,
                                                     nullptr));
    return answer ? Text(g_variant_print(answer.get(), FALSE)).get() : "";
}

/// As `call`, of the keyring's service.
std::string callKeyring(const char* method, GVariant* arguments) {
    return call(connect().get(), serviceName, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                method, arguments);
}

void waitUntil(const char* what, const std::function<bool()>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline) {
            failSetup(std::string("not ready: ") + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

PrivateKeyring::PrivateKeyring(Mode mode) {
    environment_.set("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    environment_.set("XDG_RUNTIME_DIR", folder_.path());
    if (mode != Mode::noBus) {
        startBus(mode == Mode::activatable);
    }
    if (mode == Mode::unlocked || mode == Mode::locked) {
        startDaemon();
    }
    if (mode == Mode::locked) {
        lock();
    }
}

void PrivateKeyring::startBus(bool canStartKeyring) {
    std::filesystem::create_directory(folder_.file("services"));
    if (canStartKeyring) {
        folder_.write("services/secrets.service",
                      std::string("[D-BUS Service]\nName=") + serviceName +
                          "\nExec=/usr/bin/gnome-keyring-daemon --foreground --components=secrets "
                          "--control-directory=" +
                          folder_.file("control") + "\n");
    }
    const auto configuration = folder_.write(
        "bus.conf",
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
        "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n<busconfig><type>session</"
        "type><listen>unix:path=" +
            folder_.file("socket") + "</listen><servicedir>" + folder_.file("services") +
            "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
    bus_.emplace(Program::Setup{
        {"dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile", "--print-address=1"},
        {{"XDG_DATA_HOME", folder_.file("data")},
         {"XDG_RUNTIME_DIR", folder_.path()},
         {"HOME", folder_.path()}}});
    bus_->waitForOutput("\n");  // the address comes once the bus listens
    const auto address = bus_->out();
    environment_.set("DBUS_SESSION_BUS_ADDRESS", address.substr(0, address.find('\n')));
}

void PrivateKeyring::startDaemon() {
    daemon_.emplace(Program::Setup{{"gnome-keyring-daemon", "--foreground", "--unlock",
                                    "--components=secrets", "--control-directory=" + folder_.file("control")},
                                   {{"XDG_DATA_HOME", folder_.file("data")},
                                    {"XDG_RUNTIME_DIR", folder_.path()},
                                    {"HOME", folder_.path()},
                                    {"DBUS_SESSION_BUS_ADDRESS", sessionBusAddress().value_or("")}},
                                   folder_.write("password", "test")});
    waitUntil("secret service", [this] { return isRunning(); });
    waitUntil("default collection", [] {
        return callKeyring("ReadAlias", g_variant_new("(s)", "default")).contains("collection/login");
    });
}

void PrivateKeyring::lock() {
    const char* const paths[] = {"/org/freedesktop/secrets/collection/login"};
    if (callKeyring("Lock", g_variant_new("(@ao)", g_variant_new_objv(paths, 1))).empty()) {
        failSetup("the keyring did not lock");
    }
}

void PrivateKeyring::addItem(const std::string& collection, const std::string& schema,
                             const std::map<std::string, std::string>& attributes,
                             const std::string& secret) {
    auto* const table = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free);
    for (const auto& [name, value] : attributes) {
        g_hash_table_insert(table, g_strdup(name.c_str()), g_strdup(value.c_str()));
    }
    g_hash_table_insert(table, g_strdup("xdg:schema"), g_strdup(schema.c_str()));
    GlibFailure failure;
    // libsecret leaves some bytes of its proxies behind in a context that nobody runs any more.
    const LeaksOfLibraries allowed;
    const auto stored = secret_password_storev_sync(nullptr, table, collection.c_str(), "another's",
                                                    secret.c_str(), nullptr, failure.out());
    g_hash_table_unref(table);
    secret_service_disconnect();
    if (stored == FALSE) {
        failSetup("cannot add an item: " + failure.text());
    }
}

void PrivateKeyring::hang() {
    daemon_->signal(SIGSTOP);
}
void PrivateKeyring::goOn() {
    daemon_->signal(SIGCONT);
}

void PrivateKeyring::killDaemon() {
    daemon_.reset();
    waitUntil("the keyring's name to be free", [this] { return !isRunning(); });
}

void PrivateKeyring::killBus() {
    bus_.reset();
}

bool PrivateKeyring::isRunning() const {
    return call(connect().get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "NameHasOwner", g_variant_new("(s)", serviceName)) == "(true,)";
}

namespace {

constexpr const char* prompterInterface = R"(<node><interface name="org.gnome.keyring.internal.Prompter">
  <method name="BeginPrompting"><arg type="o" direction="in"/></method>
  <method name="PerformPrompt"><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{sv}" direction="in"/><arg type="s" direction="in"/></method>
  <method name="StopPrompting"><arg type="o" direction="in"/></method>
</interface></node>)";

}  // namespace

PromptOnScreen::PromptOnScreen()
    : prompter_("org.gnome.keyring.SystemPrompter", "/org/gnome/keyring/Prompter", prompterInterface,
                [this](const std::string& method, GVariant* arguments, std::string sender) {
                    if (method == "BeginPrompting") {
                        const char* callback = nullptr;
                        g_variant_get(arguments, "(&o)", &callback);
                        const std::lock_guard lock(mutex_);
                        sender_ = std::move(sender);
                        callback_ = callback;
                        ++timesAsked_;
                    }
                    return nullptr;
                }) {}

void PromptOnScreen::waitUntilUp() {
    waitUntil("prompt", [this] {
        const std::lock_guard lock(mutex_);
        return !callback_.empty();
    });
}

void PromptOnScreen::dismiss() {
    std::string callback;
    {
        const std::lock_guard lock(mutex_);
        callback = std::exchange(callback_, "");
    }
    call(prompter_.bus(), sender_.c_str(), callback.c_str(), "org.gnome.keyring.internal.Prompter.Callback",
         "PromptDone", nullptr);
}

int PromptOnScreen::timesAsked() const {
    const std::lock_guard lock(mutex_);
    return timesAsked_;
}

}  // namespace tarn::test
