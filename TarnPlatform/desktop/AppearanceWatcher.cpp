#include "AppearanceWatcher.h"

#include <array>
#include <boost/asio/post.hpp>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "TarnPlatform/bus/Glib.h"
#include "TarnPlatform/bus/SessionBus.h"

namespace tarn {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* portalInterface = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr const char* gnomeAccess = "org.gnome.desktop.a11y.interface";
constexpr const char* kdeGeneral = "org.kde.kdeglobals.KDE";
constexpr int portalLimitMs = 10'000;  // it may have to be started first

struct KeyFileFree {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};

/// The settings of that name; null where they are not installed.
Owned<GSettings> settingsOf(const char* name) {
    auto* const source = g_settings_schema_source_get_default();
    auto* const schema = source == nullptr ? nullptr : g_settings_schema_source_lookup(source, name, TRUE);
    if (schema == nullptr) {
        return nullptr;
    }
    g_settings_schema_unref(schema);
    return Owned<GSettings>(g_settings_new(name));
}

/// Only what the user has chosen: the defaults are those of a desktop that may not be this one.
Variant chosen(GSettings* settings, const char* key, const GVariantType* type) {
    if (settings == nullptr) {
        return nullptr;
    }
    GSettingsSchema* schema = nullptr;
    g_object_get(settings, "settings-schema", &schema, nullptr);
    Variant value(g_settings_schema_has_key(schema, key) == FALSE ? nullptr
                                                                  : g_settings_get_user_value(settings, key));
    g_settings_schema_unref(schema);
    return value && g_variant_is_of_type(value.get(), type) != FALSE ? std::move(value) : nullptr;
}

/// Variants of the portal come in one or two wrappings.
Variant unwrapped(Variant value) {
    while (value && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT) != FALSE) {
        value.reset(g_variant_get_variant(value.get()));
    }
    return value;
}

void take(AppearanceFacts& facts, std::string_view place, std::string_view key, Variant wrapped) {
    const Variant value = unwrapped(std::move(wrapped));
    const auto is = [&value](const GVariantType* type) {
        return g_variant_is_of_type(value.get(), type) != FALSE;
    };
    if (place == appearance && key == "color-scheme" && is(G_VARIANT_TYPE_UINT32)) {
        facts.portalScheme = g_variant_get_uint32(value.get());
    } else if (place == appearance && key == "contrast" && is(G_VARIANT_TYPE_UINT32)) {
        facts.portalContrast = g_variant_get_uint32(value.get());
    } else if (place == gnomeAccess && key == "high-contrast" && is(G_VARIANT_TYPE_BOOLEAN)) {
        facts.portalHighContrast = g_variant_get_boolean(value.get()) != FALSE;
    } else if (place == gnomeInterface && key == "enable-animations" && is(G_VARIANT_TYPE_BOOLEAN)) {
        facts.portalAnimations = g_variant_get_boolean(value.get()) != FALSE;
    } else if (place == kdeGeneral && key == "AnimationDurationFactor" && is(G_VARIANT_TYPE_STRING)) {
        facts.portalAnimations = g_ascii_strtod(g_variant_get_string(value.get(), nullptr), nullptr) > 0;
    }
}

}  // namespace

/// Shared with its thread. All of it is the thread's, but what says otherwise.
class AppearanceWatcher::Reader {
public:
    Reader(SerialExecutor executor, std::function<void(const AppearanceFacts&)> told)
        : executor_(std::move(executor)),
          told_(std::make_shared<std::function<void(const AppearanceFacts&)>>(std::move(told))),
          posted_(told_) {}
    ~Reader() { g_main_context_unref(context_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    static void start(const std::shared_ptr<Reader>& reader) {
        reader->thread_ = std::thread([reader] { reader->run(); });
    }

    /// Thread: the executor's.
    void stop() {
        told_.reset();
        g_cancellable_cancel(cancellable_.get());
        g_main_context_wakeup(context_);
        thread_.join();
    }

private:
    void run() {
        g_main_context_push_thread_default(context_);
        watchFiles();
        watchSettings();
        tell();
        watchPortal();
        const auto isOver = [this] { return g_cancellable_is_cancelled(cancellable_.get()) != FALSE; };
        while (!isOver() || calls_ > 0) {
            g_main_context_iteration(context_, TRUE);
        }
        if (portalWatch_ != 0) {
            g_bus_unwatch_name(portalWatch_);
            g_dbus_connection_signal_unsubscribe(bus_.get(), changes_);
        }
        monitors_.clear();
        settings_.reset();
        access_.reset();
        bus_.reset();
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context_);
    }

    void watchFiles();
    void readFiles();
    void watchSettings();
    void readSettings();
    void watchPortal();
    void askPortal();
    void tell();

    // Fixed at birth.
    const SerialExecutor executor_;
    GMainContext* const context_ = g_main_context_new();
    const Owned<GCancellable> cancellable_{g_cancellable_new()};

    // The executor's. What is posted holds it weakly.
    std::shared_ptr<std::function<void(const AppearanceFacts&)>> told_;
    std::thread thread_;

    const std::weak_ptr<std::function<void(const AppearanceFacts&)>> posted_;
    AppearanceFacts facts_;
    AppearanceFacts lastTold_;
    bool hasTold_ = false;
    std::vector<Owned<GFileMonitor>> monitors_;
    Owned<GSettings> settings_;
    Owned<GSettings> access_;  ///< those of how the desktop can be used
    Owned<GDBusConnection> bus_;
    guint portalWatch_ = 0;
    guint changes_ = 0;
    int calls_ = 0;  ///< to the portal, not answered yet
};

void AppearanceWatcher::Reader::watchFiles() {
    const char* const variable = std::getenv("GTK_THEME");
    facts_.gtkThemeVariable = variable == nullptr ? "" : variable;
    for (const char* version : {"gtk-3.0", "gtk-4.0"}) {
        const Text folder(g_build_filename(g_get_user_config_dir(), version, nullptr));
        // A folder that is not there would be looked for every few seconds.
        if (g_file_test(folder.get(), G_FILE_TEST_IS_DIR) == FALSE) {
            continue;
        }
        const Text path(g_build_filename(folder.get(), "settings.ini", nullptr));
        const Owned<GFile> file(g_file_new_for_path(path.get()));
        Owned<GFileMonitor> monitor(g_file_monitor_file(file.get(), G_FILE_MONITOR_NONE, nullptr, nullptr));
        if (monitor) {
            g_signal_connect(monitor.get(), "changed",
                             G_CALLBACK(+[](GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer self) {
                                 static_cast<Reader*>(self)->readFiles();
                                 static_cast<Reader*>(self)->tell();
                             }),
                             this);
            monitors_.push_back(std::move(monitor));
        }
    }
    readFiles();
}

void AppearanceWatcher::Reader::readFiles() {
    facts_.gtkFilePrefersDark.reset();
    facts_.gtkFileTheme.clear();
    // The later version's word is the last.
    for (const char* version : {"gtk-3.0", "gtk-4.0"}) {
        const Text path(g_build_filename(g_get_user_config_dir(), version, "settings.ini", nullptr));
        const std::unique_ptr<GKeyFile, KeyFileFree> file(g_key_file_new());
        if (g_key_file_load_from_file(file.get(), path.get(), G_KEY_FILE_NONE, nullptr) == FALSE) {
            continue;
        }
        const Text wish(
            g_key_file_get_value(file.get(), "Settings", "gtk-application-prefer-dark-theme", nullptr));
        if (wish) {
            const std::string_view value(wish.get());
            facts_.gtkFilePrefersDark = value == "1" || value == "true" || value == "TRUE";
        }
        const Text theme(g_key_file_get_string(file.get(), "Settings", "gtk-theme-name", nullptr));
        if (theme) {
            facts_.gtkFileTheme = theme.get();
        }
    }
}

void AppearanceWatcher::Reader::watchSettings() {
    settings_ = settingsOf(gnomeInterface);
    access_ = settingsOf(gnomeAccess);
    for (GSettings* const settings : {settings_.get(), access_.get()}) {
        if (settings != nullptr) {
            g_signal_connect(settings, "changed", G_CALLBACK(+[](GSettings*, const char*, gpointer self) {
                                 static_cast<Reader*>(self)->readSettings();
                                 static_cast<Reader*>(self)->tell();
                             }),
                             this);
        }
    }
    readSettings();
}

void AppearanceWatcher::Reader::readSettings() {
    const auto text = [this](const char* key) {
        const auto value = chosen(settings_.get(), key, G_VARIANT_TYPE_STRING);
        return std::string(value ? g_variant_get_string(value.get(), nullptr) : "");
    };
    const auto flag = [](GSettings* settings, const char* key) {
        const auto value = chosen(settings, key, G_VARIANT_TYPE_BOOLEAN);
        return value ? std::optional(g_variant_get_boolean(value.get()) != FALSE) : std::nullopt;
    };
    facts_.settingsScheme = text("color-scheme");
    facts_.settingsTheme = text("gtk-theme");
    facts_.settingsAnimations = flag(settings_.get(), "enable-animations");
    facts_.settingsHighContrast = flag(access_.get(), "high-contrast");
}

void AppearanceWatcher::Reader::watchPortal() {
    std::string whyNot;
    bus_ = connectToSessionBus(cancellable_.get(), whyNot);
    if (!bus_) {
        return;
    }
    changes_ = g_dbus_connection_signal_subscribe(
        bus_.get(), portalName, portalInterface, "SettingChanged", portalPath, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
           gpointer data) {
            auto* const self = static_cast<Reader*>(data);
            if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ssv)")) != FALSE) {
                const char* place = nullptr;
                const char* key = nullptr;
                GVariant* value = nullptr;
                g_variant_get(arguments, "(&s&sv)", &place, &key, &value);
                take(self->facts_, place, key, Variant(value));
                self->tell();
            }
        },
        this, nullptr);
    portalWatch_ = g_bus_watch_name_on_connection(
        bus_.get(), portalName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START,
        [](GDBusConnection*, const char*, const char*, gpointer self) {
            static_cast<Reader*>(self)->askPortal();
        },
        nullptr, this, nullptr);
}

void AppearanceWatcher::Reader::askPortal() {
    const std::array<const char*, 5> places{appearance, gnomeInterface, gnomeAccess, kdeGeneral, nullptr};
    ++calls_;
    g_dbus_connection_call(
        bus_.get(), portalName, portalPath, portalInterface, "ReadAll", g_variant_new("(^as)", places.data()),
        G_VARIANT_TYPE("(a{sa{sv}})"), G_DBUS_CALL_FLAGS_NONE, portalLimitMs, cancellable_.get(),
        [](GObject* bus, GAsyncResult* result, gpointer data) {
            auto* const self = static_cast<Reader*>(data);
            --self->calls_;
            // It may be a portal without settings.
            const Variant reply(
                g_dbus_connection_call_finish(reinterpret_cast<GDBusConnection*>(bus), result, nullptr));
            if (!reply) {
                return;
            }
            const Variant all(g_variant_get_child_value(reply.get(), 0));
            GVariantIter groups;
            g_variant_iter_init(&groups, all.get());
            const char* place = nullptr;
            for (GVariant* group = nullptr; g_variant_iter_next(&groups, "{&s@a{sv}}", &place, &group);) {
                const Variant owned(group);
                GVariantIter entries;
                g_variant_iter_init(&entries, group);
                const char* key = nullptr;
                for (GVariant* value = nullptr; g_variant_iter_next(&entries, "{&sv}", &key, &value);) {
                    take(self->facts_, place, key, Variant(value));
                }
            }
            self->tell();
        },
        this);
}

void AppearanceWatcher::Reader::tell() {
    if (!std::exchange(hasTold_, true) || facts_ != lastTold_) {
        lastTold_ = facts_;
        asio::post(executor_, [weak = posted_, facts = facts_] {
            if (const auto told = weak.lock()) {
                (*told)(facts);
            }
        });
    }
}

AppearanceWatcher::AppearanceWatcher(SerialExecutor executor,
                                     std::function<void(const AppearanceFacts&)> told)
    : reader_(std::make_shared<Reader>(std::move(executor), std::move(told))) {
    Reader::start(reader_);
}

AppearanceWatcher::~AppearanceWatcher() {
    reader_->stop();
}

}  // namespace tarn
