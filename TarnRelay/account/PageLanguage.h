#pragma once

#include <string_view>

namespace tarn::relay {

/// The languages that the relay's pages are written in.
enum class PageLanguage : unsigned char { english, chinese };

/// The language that an "Accept-Language" header (RFC 9110, 12.5.4) prefers. Any Chinese counts as the
/// simplified one, a tie goes to the item that stands first, and everybody else gets English. Items that
/// cannot be understood are passed over.
PageLanguage pageLanguage(std::string_view acceptLanguage);

}  // namespace tarn::relay
