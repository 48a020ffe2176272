#pragma once

#include <filesystem>
#include <string_view>

#include "Result.h"
#include "UniqueDescriptor.h"

namespace tarn {

// Small private files, kept so that a crash or a full disk never leaves half of one. Thread: any; each call
// waits for the disk.

/// Puts `bytes` in the place of the file `path`, or makes it: written beside it with mode 0600, synced,
/// renamed over it. A symbolic link at `path` is replaced, not followed. After a failure the old file is
/// still there, and nothing beside it; only where syncing the folder fails in the end is the new file there
/// already. The description names `path` and the reason.
Result<void> replaceFile(const std::filesystem::path& path, std::string_view bytes);

/// The same in the open folder `folder`, whatever has become of its name since; `path` names the file in it
/// for the description.
Result<void> replaceFileIn(int folder, const std::filesystem::path& path, std::string_view bytes);

/// Removes what calls of `replaceFile` left beside `path` when their process was killed. The caller keeps
/// others from replacing the file meanwhile.
void removeUnfinished(const std::filesystem::path& path);

/// Makes `folder` and what is missing on the way to it, each with mode 0700. A folder that is there already
/// stays as it is.
Result<void> makePrivateFolder(const std::filesystem::path& folder);

/// The folder itself, closed to others from now on; none where there is no such folder. Files that are opened
/// relative to it are in it, even if somebody exchanges the folder meanwhile. Fails where it is a symbolic
/// link or another user's.
Result<UniqueDescriptor> openPrivateFolder(const std::filesystem::path& folder);

}  // namespace tarn
