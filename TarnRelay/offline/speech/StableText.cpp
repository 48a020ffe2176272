#include "StableText.h"

#include <algorithm>
#include <string_view>

namespace tarn::relay {
namespace {

/// The length of the beginning that both texts share, cut back to whole words: "the meet" and "the meeting"
/// share "the", since a word that still grows is not stable.
std::size_t commonWords(const std::string& first, const std::string& second) {
    const auto [end, otherEnd] = std::ranges::mismatch(first, second);
    const auto ends = [](const std::string& text, auto at) { return at == text.end() || *at == ' '; };
    if (ends(first, end) && ends(second, otherEnd)) {
        return static_cast<std::size_t>(end - first.begin());
    }
    const auto space = std::string_view(first.begin(), end).rfind(' ');
    return space == std::string_view::npos ? 0 : space;
}

}  // namespace

StableText::Split StableText::update(const std::string& whole) {
    recent_.push_back(whole);
    if (recent_.size() > agreement_) {
        recent_.pop_front();
    }
    // Fewer texts than are needed cannot agree, however alike they are.
    std::size_t stable = recent_.size() == agreement_ ? whole.size() : 0;
    for (const auto& earlier : recent_) {
        stable = std::min(stable, commonWords(whole, earlier));
    }
    return {.text = whole.substr(0, stable), .stash = whole.substr(stable)};
}

}  // namespace tarn::relay
