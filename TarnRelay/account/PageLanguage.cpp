#include "PageLanguage.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "TarnPlatform/net/Http.h"

namespace tarn::relay {
namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// The weight of an item, from 0 to 1. It is 1 where none is given, and 0 where it is not a weight.
double weightOf(std::string_view parameters) {
    const auto text = trimmed(parameters);
    if (text.empty()) {
        return 1;
    }
    if (!text.starts_with("q=") && !text.starts_with("Q=")) {
        return 0;
    }
    double weight = 0;
    const auto* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + 2, end, weight, std::chars_format::fixed);
    return error == std::errc() && rest == end && weight >= 0 && weight <= 1 ? weight : 0;
}

bool isLanguage(std::string_view tag, std::string_view code) {
    return sameIgnoringCase(tag.substr(0, tag.find('-')), code);
}

}  // namespace

PageLanguage pageLanguage(std::string_view acceptLanguage) {
    auto best = PageLanguage::english;
    double bestWeight = 0;
    for (auto rest = acceptLanguage; !rest.empty();) {
        const auto comma = std::min(rest.find(','), rest.size());
        const auto item = rest.substr(0, comma);
        rest.remove_prefix(std::min(comma + 1, rest.size()));

        const auto semicolon = std::min(item.find(';'), item.size());
        const auto tag = trimmed(item.substr(0, semicolon));
        const auto weight = semicolon == item.size() ? 1 : weightOf(item.substr(semicolon + 1));
        const bool isChinese = isLanguage(tag, "zh");
        if ((isChinese || isLanguage(tag, "en") || tag == "*") && weight > bestWeight) {
            best = isChinese ? PageLanguage::chinese : PageLanguage::english;
            bestWeight = weight;
        }
    }
    return best;
}

}  // namespace tarn::relay
