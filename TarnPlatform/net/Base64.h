#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// Standard alphabet, padded, no line breaks (RFC 4648 section 4).
std::string base64Encode(std::span<const std::byte> bytes);

/// Nothing when `text` is not exactly such an encoding: another character, wrong length, misplaced padding.
std::optional<std::vector<std::byte>> base64Decode(std::string_view text);

}  // namespace tarn
