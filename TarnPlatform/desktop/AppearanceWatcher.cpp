#include "AppearanceWatcher.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* portalInterface = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnomeInterface = "org.gnome.desktop.interface";
constexpr const char* gnomeAccess = "org.gnome.desktop.a11y.interface";
constexpr const char* kdeGeneral = "org.kde.kdeglobals.KDE";

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

/// The value that the user has chosen; null where there is none. The schema's default is of no use: it is
/// that of GNOME, which need not be the desktop that runs.
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

/// The portal wraps a value in a variant, and some portals in two.
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

/// Thread: the bus's.
class AppearanceWatcher::Reader {
public:
    using Tell = std::function<void(AppearanceFacts)>;

    Reader(BusConnection& bus, Tell tell) : bus_(bus), tell_(std::move(tell)) {
        watchFiles();
        watchSettings();
        this->tell();
        bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string&) {
            if (isConnected) {
                watchPortal();
            }
        });
    }
    ~Reader() {
        for (const auto& monitor : monitors_) {
            g_signal_handlers_disconnect_by_data(monitor.get(), this);
        }
        for (GSettings* const settings : {settings_.get(), access_.get()}) {
            if (settings != nullptr) {
                g_signal_handlers_disconnect_by_data(settings, this);
            }
        }
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

private:
    void watchFiles();
    void readFiles();
    void watchSettings();
    void readSettings();
    void watchPortal();
    void askPortal();
    void takePortal(GVariant* groups);
    void tell();

    BusConnection& bus_;
    const Tell tell_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    AppearanceFacts facts_;
    AppearanceFacts lastTold_;
    bool hasTold_ = false;
    std::vector<Owned<GFileMonitor>> monitors_;
    Owned<GSettings> settings_;
    Owned<GSettings> access_;  ///< those of how the desktop can be used
    std::vector<BusConnection::Held> held_;
};

void AppearanceWatcher::Reader::watchFiles() {
    const char* const variable = std::getenv("GTK_THEME");
    facts_.gtkThemeVariable = variable == nullptr ? "" : variable;
    for (const char* version : {"gtk-3.0", "gtk-4.0"}) {
        const Text folder(g_build_filename(g_get_user_config_dir(), version, nullptr));
        // GLib polls for a folder that does not exist, every few seconds.
        if (g_file_test(folder.get(), G_FILE_TEST_IS_DIR) == FALSE) {
            continue;
        }
        const Text path(g_build_filename(folder.get(), "settings.ini", nullptr));
        // The local file system alone: GLib's own choice would ask a service on the bus, and wait for it.
        const Owned<GFile> file(g_vfs_get_file_for_path(g_vfs_get_local(), path.get()));
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
    // The later version of GTK is read last, so that its settings win.
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
    held_.push_back(bus_.listen(portalName, portalInterface, "SettingChanged", portalPath, "(ssv)",
                                [this](std::string_view, GVariant* arguments) {
                                    const char* place = nullptr;
                                    const char* key = nullptr;
                                    GVariant* value = nullptr;
                                    g_variant_get(arguments, "(&s&sv)", &place, &key, &value);
                                    take(facts_, place, key, Variant(value));
                                    tell();
                                }));
    held_.push_back(bus_.watchName(portalName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START, [this](bool isThere) {
        if (isThere) {
            askPortal();
        }
    }));
}

void AppearanceWatcher::Reader::askPortal() {
    const std::array<const char*, 5> places{appearance, gnomeInterface, gnomeAccess, kdeGeneral, nullptr};
    bus_.call({portalName, portalPath, portalInterface, "ReadAll", g_variant_new("(^as)", places.data()),
               "(a{sa{sv}})", G_DBUS_CALL_FLAGS_NONE},
              lifeline_, [this](const Variant& reply, const std::string&) {
                  if (reply) {  // not so from a portal without settings
                      const Variant groups(g_variant_get_child_value(reply.get(), 0));
                      takePortal(groups.get());
                      tell();
                  }
              });
}

void AppearanceWatcher::Reader::takePortal(GVariant* groups) {
    GVariantIter places;
    g_variant_iter_init(&places, groups);
    const char* place = nullptr;
    for (GVariant* group = nullptr; g_variant_iter_next(&places, "{&s@a{sv}}", &place, &group);) {
        const Variant owned(group);
        GVariantIter entries;
        g_variant_iter_init(&entries, group);
        const char* key = nullptr;
        for (GVariant* value = nullptr; g_variant_iter_next(&entries, "{&sv}", &key, &value);) {
            take(facts_, place, key, Variant(value));
        }
    }
}

void AppearanceWatcher::Reader::tell() {
    if (!std::exchange(hasTold_, true) || facts_ != lastTold_) {
        lastTold_ = facts_;
        tell_(facts_);
    }
}

AppearanceWatcher::AppearanceWatcher(BusThread& bus, SerialExecutor executor,
                                     std::function<void(const AppearanceFacts&)> told)
    : bus_(bus), told_(std::move(executor), std::move(told)) {
    bus_.post([this](BusConnection& connection) {
        reader_ = std::make_unique<Reader>(connection, told_.poster());
    });
}

AppearanceWatcher::~AppearanceWatcher() {
    bus_.run([this](BusConnection&) { reader_.reset(); });
}

}  // namespace tarn
