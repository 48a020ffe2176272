#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Sees to it that the desktop opens addresses of a scheme with a program of this user's, where no package of
/// the system does.
struct SchemeRegistration {
    enum class Outcome : std::uint8_t {
        alreadyHandled,  ///< the desktop has a handler: an installed one, or ours as it should be
        registered,      ///< there was none that exists, or ours named another place
    };

    std::string scheme;             ///< "tarn"
    std::string desktopFile;        ///< name of our own desktop entry, "com.example.app-links.desktop"
    std::string applicationName;    ///< what the desktop shows for it
    std::filesystem::path program;  ///< absolute; called with the address as its only argument

    /// Keeps to $XDG_DATA_HOME/applications and $XDG_CONFIG_HOME/mimeapps.list, and writes only what changed.
    /// A handler that is not ours stays. Waits for the disk. Thread: any, one at a time in a user's session.
    Result<Outcome> ensure() const;

    /// The name of the program that the desktop opens addresses of `scheme` with; nothing where there is
    /// none. Thread: any.
    static std::optional<std::string> handlerOf(const std::string& scheme);

    /// The file of the running program; nothing of a program whose file has been replaced or removed.
    static Result<std::filesystem::path> runningProgram();
};

}  // namespace tarn
