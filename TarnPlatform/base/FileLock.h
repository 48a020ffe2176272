#pragma once

#include <chrono>
#include <filesystem>

#include "Result.h"
#include "UniqueDescriptor.h"

namespace tarn {

/// The exclusive lock on a file, made if need be with mode 0600; it ends when the descriptor is closed, by a
/// crash too. Waits for another holder, in this process or another, until `limit`, and then fails with
/// `timeout`.
Result<UniqueDescriptor> lockFile(const std::filesystem::path& path, std::chrono::milliseconds limit);

}  // namespace tarn
