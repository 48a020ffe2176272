#include "PreferredLanguages.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace tarn {
namespace {

// An empty variable is as good as none.
std::string_view variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string_view withoutCodeset(std::string_view locale) {
    return locale.substr(0, locale.find_first_of(".@"));
}

bool isUntranslated(std::string_view language) {
    return language == "C" || language == "POSIX";
}

std::string_view localeOfMessages() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const auto value = variable(name); !value.empty()) {
            return withoutCodeset(value);
        }
    }
    return {};
}

}  // namespace

std::vector<std::string> preferredLanguages() {
    const auto locale = localeOfMessages();
    if (locale.empty() || isUntranslated(locale)) {
        return {};
    }
    std::vector<std::string> languages;
    auto list = variable("LANGUAGE");
    while (!list.empty()) {
        const auto entry = list.substr(0, list.find(':'));
        list.remove_prefix(std::min(list.size(), entry.size() + 1));
        const auto language = withoutCodeset(entry);
        if (isUntranslated(language)) {
            return languages;  // from here on the program's own texts are wanted
        }
        if (!language.empty()) {
            languages.emplace_back(language);
        }
    }
    if (languages.empty()) {
        languages.emplace_back(locale);
    }
    return languages;
}

TextLanguage preferredTextLanguage() {
    const auto languages = preferredLanguages();
    auto first = languages.empty() ? std::string("en") : languages.front();
    // Language codes are ASCII.
    std::ranges::transform(first, first.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return first.starts_with("zh") ? TextLanguage::chinese : TextLanguage::english;
}

}  // namespace tarn
