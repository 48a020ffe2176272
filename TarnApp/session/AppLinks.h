#pragma once

#include <filesystem>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// The name under which the running program is found on the session bus.
inline constexpr const char* applicationID = "com.ostrel.tarn";

/// Lets the desktop open links of the scheme "tarn" with `program`, where nothing installed does.
Result<void> registerLinks(const std::filesystem::path& program);

}  // namespace tarn
