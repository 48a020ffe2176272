#include "SchemeRegistration.h"

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "TarnPlatform/base/AtomicFile.h"
#include "TarnPlatform/bus/Glib.h"

namespace tarn {
namespace {

/// An argument of an Exec line as desktop entries have it: it is quoted, with a backslash before the
/// characters that a shell would interpret; then the whole value is escaped as any other, which doubles each
/// backslash; and a percent sign, which starts a field code, is doubled.
std::string execArgument(const std::string& path) {
    std::string text = "\"";
    for (const char character : path) {
        switch (character) {
            case '%':
                text += "%%";
                break;
            case '"':
            case '`':
            case '$':
                text += "\\\\";
                text += character;
                break;
            case '\\':
                text += "\\\\\\\\";
                break;
            default:
                text += character;
        }
    }
    return text + "\"";
}

std::string desktopEntry(const SchemeRegistration& wanted) {
    return "[Desktop Entry]\nType=Application\nVersion=1.4\nName=" + wanted.applicationName +
           "\nExec=" + execArgument(wanted.program) + " %u\nMimeType=x-scheme-handler/" + wanted.scheme +
           ";\nNoDisplay=true\nTerminal=false\nDBusActivatable=false\n";
}

bool holds(const std::filesystem::path& path, const std::string& text) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str() == text;
}

// Control characters have no form in an Exec line.
bool canBeNamed(const std::filesystem::path& program) {
    return program.is_absolute() && std::ranges::none_of(program.native(), [](char character) {
               return static_cast<unsigned char>(character) < 0x20U;
           });
}

}  // namespace

Result<SchemeRegistration::Outcome> SchemeRegistration::ensure() const {
    const Owned<GAppInfo> current(g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    const char* const currentFile = current ? g_app_info_get_id(current.get()) : nullptr;
    const bool isOurs = currentFile != nullptr && currentFile == desktopFile;
    if (current && !isOurs) {
        return Outcome::alreadyHandled;
    }
    if (!canBeNamed(program)) {
        return failure(ErrorKind::invalidInput, "a desktop entry cannot name " + program.string());
    }
    std::error_code ignored;
    const auto folder = std::filesystem::path(g_get_user_data_dir()) / "applications";
    const auto entry = desktopEntry(*this);
    // Nothing is written where all is as it should be: a changed file makes desktops read all entries again.
    if (isOurs && holds(folder / desktopFile, entry)) {
        return Outcome::alreadyHandled;
    }
    if (auto made = makePrivateFolder(folder); !made) {
        return std::unexpected(std::move(made.error()));
    }
    if (auto written = replaceFile(folder / desktopFile, entry); !written) {
        return std::unexpected(std::move(written.error()));
    }
    // GLib gives nothing for an entry whose program is missing or may not be executed. Such an entry must not
    // stay, since it would be offered to the user.
    const Owned<GDesktopAppInfo> ours(g_desktop_app_info_new_from_filename((folder / desktopFile).c_str()));
    if (!ours) {
        std::filesystem::remove(folder / desktopFile, ignored);
        return failure(ErrorKind::system, "the desktop does not take " + program.string() + " as a program");
    }
    GlibFailure problem;
    const auto type = "x-scheme-handler/" + scheme;
    if (!isOurs &&
        g_app_info_set_as_default_for_type(G_APP_INFO(ours.get()), type.c_str(), problem.out()) == FALSE) {
        return failure(ErrorKind::system, "the desktop does not register " + type + ": " + problem.text());
    }
    return Outcome::registered;
}

std::optional<std::string> SchemeRegistration::handlerOf(const std::string& scheme) {
    const Owned<GAppInfo> handler(g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    if (!handler) {
        return std::nullopt;
    }
    const char* const name = g_app_info_get_display_name(handler.get());
    return name == nullptr ? "?" : name;
}

Result<std::filesystem::path> SchemeRegistration::runningProgram() {
    std::error_code problem;
    auto path = std::filesystem::read_symlink("/proc/self/exe", problem);
    if (problem || !std::filesystem::exists(path, problem)) {
        return failure(ErrorKind::system, "the file of this program is not there any more");
    }
    return path;
}

}  // namespace tarn
