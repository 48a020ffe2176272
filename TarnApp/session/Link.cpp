#include "Link.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>

#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/desktop/SingleInstance.h"

namespace tarn {
namespace {

bool isControl(unsigned byte) {
    return byte < 0x20U || byte == 0x7FU;
}

/// Whether `text` holds a control character, plain or percent-encoded. Neither a token nor an e-mail address
/// has one, and one in a log or on a terminal could hide what follows.
bool holdsControl(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned encoded = 0;
        const auto* const digits = text.data() + std::min(i + 1, text.size());
        const auto* const end = text.data() + std::min(i + 3, text.size());
        const bool isEncoded = text[i] == '%' && std::from_chars(digits, end, encoded, 16).ptr == digits + 2;
        if (isControl(isEncoded ? encoded : static_cast<unsigned char>(text[i]))) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool isLink(const std::string& text) {
    constexpr std::string_view scheme = "tarn:";
    const auto matches = [](char character, char wanted) {
        return std::tolower(static_cast<unsigned char>(character)) == wanted;
    };
    return text.size() >= scheme.size() && text.size() <= SingleInstance::longestUrl &&
           std::ranges::equal(std::string_view(text).substr(0, scheme.size()), scheme, matches) &&
           !holdsControl(text) && isUtf8(text);
}

Result<void> registerLinks(const std::filesystem::path& program) {
    const SchemeRegistration registration{"tarn", "com.ostrel.tarn-links.desktop", "Tarn", program};
    const auto outcome = registration.ensure();
    return outcome ? Result<void>() : std::unexpected(outcome.error());
}

}  // namespace tarn
