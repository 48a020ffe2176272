#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// The user whose program listens on TCP `port` of this machine's 127.0.0.1 (or on all addresses); nothing
/// where none does. Of several, one who is neither this user nor root comes first. Fails where the system
/// does not tell. `tables`: the folder with the system's "tcp" and "tcp6". Thread: any; blocks for as long as
/// reading them takes.
Result<std::optional<uid_t>> ownerOfListener(std::uint16_t port,
                                             const std::filesystem::path& tables = "/proc/net");

/// Fails, in words for people, unless whoever listens there is this user, root (who may start programs for
/// all, and hears everything anyway) or nobody.
Result<void> checkListenerIsOurs(std::uint16_t port);

}  // namespace tarn
