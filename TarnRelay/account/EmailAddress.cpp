#include "EmailAddress.h"

#include <algorithm>
#include <cstddef>

namespace tarn::relay {
namespace {

constexpr std::size_t maxBytes = 254;
constexpr std::size_t maxLabelBytes = 63;

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// The letters, digits and signs of an "atext" (RFC 5322, 3.2.3), and dots anywhere, as browsers allow them.
bool isLocalPart(std::string_view text) {
    constexpr std::string_view signs = ".!#$%&'*+/=?^_`{|}~-";
    return !text.empty() && std::ranges::all_of(text, [&](char c) {
        return isLetterOrDigit(c) || signs.find(c) != std::string_view::npos;
    });
}

bool isLabel(std::string_view text) {
    return !text.empty() && text.size() <= maxLabelBytes && text.front() != '-' && text.back() != '-' &&
           std::ranges::all_of(text, [](char c) { return isLetterOrDigit(c) || c == '-'; });
}

}  // namespace

bool isEmailAddress(std::string_view text) {
    const auto at = text.find('@');
    if (text.size() > maxBytes || at == std::string_view::npos || !isLocalPart(text.substr(0, at))) {
        return false;
    }
    auto domain = text.substr(at + 1);
    for (auto dot = domain.find('.'); dot != std::string_view::npos; dot = domain.find('.')) {
        if (!isLabel(domain.substr(0, dot))) {
            return false;
        }
        domain.remove_prefix(dot + 1);
    }
    return isLabel(domain);
}

}  // namespace tarn::relay
