#include "PrivateKeyring.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <libsecret/secret.h>
#include <signal.h>
#include <spawn.h>
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif
#endif
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

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
constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";

[[noreturn]] void failSetup(const std::string& what) {
    throw std::runtime_error("private keyring: " + what);
}

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

void setVariable(const char* name, const std::string& value) {
    if (value.empty()) {
        ::unsetenv(name);
    } else {
        ::setenv(name, value.c_str(), 1);
    }
}

/// Starts a program with `input` as its descriptor 0, `output` as its 1 and a few variables changed.
pid_t start(const std::vector<std::string>& words, int input, int output,
            const std::vector<std::pair<std::string, std::string>>& changed,
            const std::filesystem::path& log) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    for (const auto& [name, value] : changed) {
        auto setting = name;
        setting += '=';
        std::erase_if(environment, [&](const std::string& entry) { return entry.starts_with(setting); });
        environment.push_back(setting + value);
    }
    const auto pointers = [](const std::vector<std::string>& texts) {
        std::vector<char*> result(texts.size() + 1, nullptr);
        std::ranges::transform(texts, result.begin(),
                               [](const std::string& text) { return const_cast<char*>(text.c_str()); });
        return result;
    };
    // A test that crashes takes what it started with it.
    std::vector<std::string> command{"setpriv", "--pdeathsig", "KILL"};
    command.insert(command.end(), words.begin(), words.end());
    const auto arguments = pointers(command);
    const auto variables = pointers(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, 0);
    posix_spawn_file_actions_addopen(&actions, 2, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, 1);
    } else {
        posix_spawn_file_actions_adddup2(&actions, 2, 1);
    }
    pid_t child = -1;
    const int error =
        ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        failSetup("cannot start " + words[0] + ": " + std::strerror(error));
    }
    return child;
}

void end(pid_t& child, int signal) {
    if (child <= 0) {
        return;
    }
    ::kill(child, SIGCONT);
    ::kill(child, signal);
    ::waitpid(child, nullptr, 0);
    child = -1;
}

struct BusClose {
    void operator()(GDBusConnection* bus) const {
        g_dbus_connection_close_sync(bus, nullptr, nullptr);
        g_object_unref(bus);
    }
};
using Bus = std::unique_ptr<GDBusConnection, BusClose>;

Bus connect(const std::string& address) {
    GError* error = nullptr;
    auto* const bus = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        // A C flag set. NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (bus == nullptr) {
        const std::string reason = error->message;
        g_error_free(error);
        failSetup("cannot reach the bus: " + reason);
    }
    return Bus(bus);
}

/// The answer printed as text, or an empty string for an error.
std::string call(const Bus& bus, const char* name, const char* path, const char* interface,
                 const char* method, GVariant* arguments) {
    GError* error = nullptr;
    auto* const answer =
        g_dbus_connection_call_sync(bus.get(), name, path, interface, method, arguments, nullptr,
                                    G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, nullptr, &error);
    if (answer == nullptr) {
        g_error_free(error);
        return {};
    }
    char* const printed = g_variant_print(answer, FALSE);
    std::string text = printed;
    g_free(printed);
    g_variant_unref(answer);
    return text;
}

bool hasOwner(const Bus& bus) {
    return call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                g_variant_new("(s)", serviceName)) == "(true,)";
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

PrivateKeyring::PrivateKeyring(Mode mode)
    : mode_(mode),
      oldAddress_(variable("DBUS_SESSION_BUS_ADDRESS")),
      oldRuntimeFolder_(variable("XDG_RUNTIME_DIR")) {
    std::string pattern = std::filesystem::temp_directory_path() / "tarn-keyring-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        failSetup("cannot make a folder");
    }
    folder_ = pattern;
    if (mode != Mode::noBus) {
        startBus();
    }
    if (mode == Mode::unlocked || mode == Mode::locked) {
        startDaemon();
    }
    if (mode == Mode::locked) {
        lock();
    }
    setVariable("DBUS_SESSION_BUS_ADDRESS", address_);
    setVariable("XDG_RUNTIME_DIR", folder_);
}

PrivateKeyring::~PrivateKeyring() {
    end(daemon_, SIGTERM);
    end(bus_, SIGTERM);
    setVariable("DBUS_SESSION_BUS_ADDRESS", oldAddress_);
    setVariable("XDG_RUNTIME_DIR", oldRuntimeFolder_);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void PrivateKeyring::startBus() {
    const auto services = folder_ / "services";
    std::filesystem::create_directory(services);
    if (mode_ == Mode::activatable) {
        std::ofstream(services / "secrets.service")
            << "[D-BUS Service]\nName=" << serviceName
            << "\nExec=/usr/bin/gnome-keyring-daemon --foreground --components=secrets --control-directory="
            << (folder_ / "control").string() << "\n";
    }
    const auto configuration = folder_ / "bus.conf";
    std::ofstream(configuration)
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
           "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n<busconfig><type>session</"
           "type><listen>"
        << "unix:path=" << (folder_ / "socket").string() << "</listen><servicedir>" << services.string()
        << "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        failSetup("no pipe");
    }
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    bus_ = start({"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--nopidfile",
                  "--print-address=1"},
                 nothing, pipe[1], {{"XDG_DATA_HOME", folder_ / "data"}, {"HOME", folder_}},
                 folder_ / "bus.log");
    ::close(nothing);
    ::close(pipe[1]);
    // The address comes once the bus listens.
    for (char character = 0; ::read(pipe[0], &character, 1) == 1 && character != '\n';) {
        address_.push_back(character);
    }
    ::close(pipe[0]);
    if (address_.empty()) {
        failSetup("the bus did not start");
    }
}

void PrivateKeyring::startDaemon() {
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        failSetup("no pipe");
    }
    daemon_ = start({"gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets",
                     "--control-directory=" + (folder_ / "control").string()},
                    pipe[0], -1,
                    {{"XDG_DATA_HOME", folder_ / "data"},
                     {"XDG_RUNTIME_DIR", folder_},
                     {"HOME", folder_},
                     {"DBUS_SESSION_BUS_ADDRESS", address_}},
                    folder_ / "daemon.log");
    ::close(pipe[0]);
    // The daemon reads the password up to the end of the file.
    if (::write(pipe[1], "test", 4) != 4) {
        failSetup("no password written");
    }
    ::close(pipe[1]);
    const auto bus = connect(address_);
    waitUntil("secret service", [&] { return hasOwner(bus); });
    waitUntil("default collection", [&] {
        return call(bus, serviceName, servicePath, serviceInterface, "ReadAlias",
                    g_variant_new("(s)", "default"))
            .contains("collection/login");
    });
}

void PrivateKeyring::lock() {
    const auto bus = connect(address_);
    const char* const paths[] = {"/org/freedesktop/secrets/collection/login"};
    if (call(bus, serviceName, servicePath, serviceInterface, "Lock",
             g_variant_new("(@ao)", g_variant_new_objv(paths, 1)))
            .empty()) {
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
    GError* error = nullptr;
    // libsecret leaves some bytes of its proxies behind in a context that nobody runs any more.
    const LeaksOfLibraries allowed;
    const auto stored = secret_password_storev_sync(nullptr, table, collection.c_str(), "another's",
                                                    secret.c_str(), nullptr, &error);
    g_hash_table_unref(table);
    secret_service_disconnect();
    if (stored == FALSE) {
        const std::string reason = error->message;
        g_error_free(error);
        failSetup("cannot add an item: " + reason);
    }
}

void PrivateKeyring::hang() {
    ::kill(daemon_, SIGSTOP);
}
void PrivateKeyring::goOn() {
    ::kill(daemon_, SIGCONT);
}

void PrivateKeyring::killDaemon() {
    end(daemon_, SIGKILL);
    const auto bus = connect(address_);
    waitUntil("the keyring's name to be free", [&] { return !hasOwner(bus); });
}

void PrivateKeyring::killBus() {
    end(bus_, SIGKILL);
}

bool PrivateKeyring::isRunning() const {
    return hasOwner(connect(address_));
}

struct PromptOnScreen::Parts {
    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    Bus bus = connect(variable("DBUS_SESSION_BUS_ADDRESS"));
    std::thread thread;
    mutable std::mutex mutex;
    std::condition_variable asked;
    int timesAsked = 0;
    std::string sender;
    std::string callback;
};

namespace {

constexpr const char* prompterInterface = R"(<node><interface name="org.gnome.keyring.internal.Prompter">
  <method name="BeginPrompting"><arg type="o" direction="in"/></method>
  <method name="PerformPrompt"><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{sv}" direction="in"/><arg type="s" direction="in"/></method>
  <method name="StopPrompting"><arg type="o" direction="in"/></method>
</interface></node>)";

}  // namespace

PromptOnScreen::PromptOnScreen() : parts_(std::make_unique<Parts>()) {
    static const GDBusInterfaceVTable table = {
        [](GDBusConnection* /*bus*/, const char* sender, const char* /*path*/, const char* /*interface*/,
           const char* method, GVariant* arguments, GDBusMethodInvocation* invocation, gpointer data) {
            auto& parts = *static_cast<Parts*>(data);
            if (std::string_view(method) == "BeginPrompting") {
                const char* callback = nullptr;
                g_variant_get(arguments, "(&o)", &callback);
                const std::lock_guard lock(parts.mutex);
                parts.sender = sender;
                parts.callback = callback;
                ++parts.timesAsked;
                parts.asked.notify_all();
            }
            g_dbus_method_invocation_return_value(invocation, nullptr);
        },
        nullptr,
        nullptr,
        {}};
    auto* const node = g_dbus_node_info_new_for_xml(prompterInterface, nullptr);
    g_main_context_push_thread_default(parts_->context);
    g_dbus_connection_register_object(parts_->bus.get(), "/org/gnome/keyring/Prompter", node->interfaces[0],
                                      &table, parts_.get(), nullptr, nullptr);
    g_main_context_pop_thread_default(parts_->context);
    g_dbus_node_info_unref(node);
    parts_->thread = std::thread([loop = parts_->loop] { g_main_loop_run(loop); });
    call(parts_->bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
         g_variant_new("(su)", "org.gnome.keyring.SystemPrompter", 0U));
}

PromptOnScreen::~PromptOnScreen() {
    parts_->bus.reset();
    g_main_loop_quit(parts_->loop);
    parts_->thread.join();
    g_main_loop_unref(parts_->loop);
    g_main_context_unref(parts_->context);
}

void PromptOnScreen::waitUntilUp() {
    std::unique_lock lock(parts_->mutex);
    if (!parts_->asked.wait_for(lock, std::chrono::seconds(10), [&] { return !parts_->callback.empty(); })) {
        failSetup("the keyring did not ask for a prompt");
    }
}

void PromptOnScreen::dismiss() {
    std::string sender;
    std::string callback;
    {
        const std::lock_guard lock(parts_->mutex);
        sender = parts_->sender;
        callback = std::exchange(parts_->callback, "");
    }
    call(parts_->bus, sender.c_str(), callback.c_str(), "org.gnome.keyring.internal.Prompter.Callback",
         "PromptDone", nullptr);
}

int PromptOnScreen::timesAsked() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->timesAsked;
}

}  // namespace tarn::test
