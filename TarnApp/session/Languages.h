#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TarnApp/server/UserAccount.h"

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

struct LanguagePair {
    std::string source;
    std::string target;

    bool operator==(const LanguagePair&) const = default;
};

/// What the user has chosen so far, and what it is without a choice.
struct LanguageWish {
    LanguagePair usual;
    std::optional<std::string> chosenSource;  ///< "": detect
    std::optional<std::string> chosenTarget;
    std::vector<std::string> preferred;  ///< the user's own languages, the most wanted first ("zh_CN")
};

/// A pair that the server can do, into a language of the user's where there is one, and that keeps to what is
/// chosen; of the languages that the pickers offer. Nothing where the server tells of none.
std::optional<LanguagePair> firstPair(const ServerLanguages& server, const LanguageWish& wish);

/// The picker's languages that the server can hear, or can translate `source` into ("": anything that it
/// hears). Nothing where it does not tell.
std::optional<std::vector<std::string>> heardBy(const ServerLanguages& server);
std::optional<std::vector<std::string>> targetsOf(const ServerLanguages& server, const std::string& source);

}  // namespace tarn
