#include "UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace tarn {
namespace {

std::optional<std::filesystem::path> named(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value == '/' ? std::optional<std::filesystem::path>(value) : std::nullopt;
}

std::filesystem::path namedOr(const char* variable, const char* usual) {
    const auto folder = named(variable);
    return folder ? *folder : UserFolders::home() / usual;
}

}  // namespace

std::filesystem::path UserFolders::home() {
    if (auto folder = named("HOME")) {
        return *folder;
    }
    std::array<char, 4096> texts{};
    passwd entry{};
    passwd* found = nullptr;
    const bool isKnown =
        ::getpwuid_r(::geteuid(), &entry, texts.data(), texts.size(), &found) == 0 && found != nullptr;
    return isKnown && *entry.pw_dir == '/' ? entry.pw_dir : "/";
}

std::filesystem::path UserFolders::config() {
    return namedOr("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path UserFolders::data() {
    return namedOr("XDG_DATA_HOME", ".local/share");
}

std::filesystem::path UserFolders::state() {
    return namedOr("XDG_STATE_HOME", ".local/state");
}

std::optional<std::filesystem::path> UserFolders::runtime() {
    return named("XDG_RUNTIME_DIR");
}

}  // namespace tarn
