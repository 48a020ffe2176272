#pragma once

#include <array>
#include <string>
#include <string_view>

namespace tarn {

/// A language that can be chosen. Value type, identified by `code`.
struct Language {
    std::string_view code;   ///< as sent to the service
    std::string_view label;  ///< the language's own name

    bool operator==(const Language&) const = default;
};

struct Languages {
    /// What both pickers offer, in this order. A stored code that is not among them is still sent unchanged.
    static constexpr std::array<Language, 16> supported{{
        {"zh", "中文"},
        {"en", "English"},
        {"ja", "日本語"},
        {"ko", "한국어"},
        {"ru", "Русский"},
        {"es", "Español"},
        {"fr", "Français"},
        {"de", "Deutsch"},
        {"pt", "Português"},
        {"it", "Italiano"},
        {"ar", "العربية"},
        {"vi", "Tiếng Việt"},
        {"th", "ภาษาไทย"},
        {"id", "Indonesia"},
        {"hi", "हिन्दी"},
        {"tr", "Türkçe"},
    }};

    /// The text of a picker's row: "中文 (zh)".
    static std::string row(const Language& language) {
        return std::string(language.label) + " (" + std::string(language.code) + ")";
    }
};

}  // namespace tarn
