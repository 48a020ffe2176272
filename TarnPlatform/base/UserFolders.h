#pragma once

#include <filesystem>
#include <optional>

namespace tarn {

/// Where the user's own files are, in the XDG base directories: a folder that the environment names, or else
/// the usual one under the home folder. A relative path counts as unset, as XDG has it. The environment is
/// read at each call. Thread: any, while nobody changes the environment.
struct UserFolders {
    /// The name of this program's own folder in each of them, and of its lines in the system's log.
    static constexpr const char* ownName = "tarn";

    /// HOME, or else the user database's entry, or else "/".
    static std::filesystem::path home();
    static std::filesystem::path config();  ///< XDG_CONFIG_HOME, by default "~/.config"
    static std::filesystem::path data();    ///< XDG_DATA_HOME, by default "~/.local/share"
    static std::filesystem::path state();   ///< XDG_STATE_HOME, by default "~/.local/state"
    /// XDG_RUNTIME_DIR. There is no other place for sockets, so that it may be missing.
    static std::optional<std::filesystem::path> runtime();
};

}  // namespace tarn
