#include "UrlOpener.h"

#include <gio/gio.h>

#include <array>

#include "TarnPlatform/logging/Log.h"

namespace tarn {
namespace {

/// Programs that show the settings of sound, the desktop's own before the general one.
constexpr std::array soundSettings{
    std::pair{"gnome-control-center", "gnome-control-center sound"},
    std::pair{"systemsettings", "systemsettings kcm_pulseaudio"},
    std::pair{"systemsettings5", "systemsettings5 kcm_pulseaudio"},
    std::pair{"pavucontrol", "pavucontrol"},
};

bool succeeded(bool started, GError* error) {
    if (!started) {
        logLine(std::string("[desktop] cannot open the address: ") +
                (error != nullptr ? error->message : "no reason given"));
    }
    g_clear_error(&error);
    return started;
}

bool openSoundSettings() {
    for (const auto& [program, command] : soundSettings) {
        char* const path = g_find_program_in_path(program);
        if (path == nullptr) {
            continue;
        }
        g_free(path);
        GError* error = nullptr;
        GAppInfo* settings =
            g_app_info_create_from_commandline(command, nullptr, G_APP_INFO_CREATE_NONE, &error);
        const bool started =
            settings != nullptr && g_app_info_launch(settings, nullptr, nullptr, &error) != 0;
        g_clear_object(&settings);
        return succeeded(started, error);
    }
    logLine("[desktop] no program for the settings of sound was found");
    return false;
}

class DesktopUrlOpener final : public UrlOpener {
public:
    bool open(const std::string& url) override {
        if (url.starts_with("x-apple.systempreferences:")) {
            return openSoundSettings();
        }
        GError* error = nullptr;
        const bool started = g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error) != 0;
        return succeeded(started, error);
    }
};

}  // namespace

std::shared_ptr<UrlOpener> UrlOpener::desktop() {
    return std::make_shared<DesktopUrlOpener>();
}

}  // namespace tarn
