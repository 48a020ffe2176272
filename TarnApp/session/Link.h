#pragma once

#include <filesystem>
#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Whether `text` can be an address of the scheme "tarn": text in UTF-8 without control characters, not
/// longer than what one running program hands to another. What it asks for is not looked at.
bool isLink(const std::string& text);

/// The name under which the running program is found on the session bus.
inline constexpr const char* applicationID = "com.ostrel.tarn";

/// Lets the desktop open links of the scheme "tarn" with `program`, where nothing installed does.
Result<void> registerLinks(const std::filesystem::path& program);

}  // namespace tarn
