#include "UrlOpener.h"

#include <array>
#include <utility>

#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/bus/Glib.h"

namespace tarn {
namespace {

/// Programs that show the settings of sound, the desktop's own before the general one.
constexpr std::array soundSettings{
    std::pair{"gnome-control-center", "gnome-control-center sound"},
    std::pair{"systemsettings", "systemsettings kcm_pulseaudio"},
    std::pair{"systemsettings5", "systemsettings5 kcm_pulseaudio"},
    std::pair{"pavucontrol", "pavucontrol"},
};

bool succeeded(gboolean started, const GlibFailure& problem) {
    if (started == FALSE) {
        logLine("[desktop] cannot open the address: " + problem.text());
    }
    return started != FALSE;
}

bool openSoundSettings() {
    for (const auto& [program, command] : soundSettings) {
        if (!Text(g_find_program_in_path(program))) {
            continue;
        }
        GlibFailure problem;
        const Owned<GAppInfo> settings(
            g_app_info_create_from_commandline(command, nullptr, G_APP_INFO_CREATE_NONE, problem.out()));
        const gboolean started =
            settings ? g_app_info_launch(settings.get(), nullptr, nullptr, problem.out()) : FALSE;
        return succeeded(started, problem);
    }
    logLine("[desktop] no program for the settings of sound was found");
    return false;
}

// GLib starts the program that the desktop entries name; in a sandbox it asks the portal to.
class DesktopUrlOpener final : public UrlOpener {
public:
    bool open(const std::string& url) override {
        if (url.starts_with("x-apple.systempreferences:")) {
            return openSoundSettings();
        }
        GlibFailure problem;
        const Text file(url.starts_with('/') ? g_filename_to_uri(url.c_str(), nullptr, nullptr) : nullptr);
        const gboolean started =
            g_app_info_launch_default_for_uri(file ? file.get() : url.c_str(), nullptr, problem.out());
        return succeeded(started, problem);
    }
};

}  // namespace

std::shared_ptr<UrlOpener> UrlOpener::desktop() {
    return std::make_shared<DesktopUrlOpener>();
}

}  // namespace tarn
