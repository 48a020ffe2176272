#pragma once

#include <string_view>

namespace tarn::relay {

/// The languages that the relay's pages are written in.
enum class PageLanguage : unsigned char { english, chinese };

/// The one that an "Accept-Language" (RFC 9110 section 12.5.4) likes best: any Chinese counts for the
/// simplified one, a tie goes to what stands first, and English is for everybody else. What cannot be
/// understood is passed over.
PageLanguage pageLanguage(std::string_view acceptLanguage);

}  // namespace tarn::relay
