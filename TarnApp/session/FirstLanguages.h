#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TarnApp/server/UserAccount.h"

namespace tarn {

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
