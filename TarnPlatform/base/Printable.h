#pragma once

#include <string>
#include <string_view>

namespace tarn {

/// The text with a space in the place of every control character (C0, DEL and C1), which a terminal would
/// obey. UTF-8. Thread: any.
std::string printable(std::string_view text);

/// The first `count` characters of a UTF-8 text, never half of one. Thread: any.
std::string_view firstCharacters(std::string_view text, std::size_t count);

}  // namespace tarn
