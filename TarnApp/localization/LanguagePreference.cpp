#include "LanguagePreference.h"

#include "TarnPlatform/base/PreferredLanguages.h"

namespace tarn {

AppLanguage::Value AppLanguage::systemDefault() {
    return preferredTextLanguage();
}

AppLanguage::Value AppLanguage::shown() {
    return LanguagePreference::stored().appLanguage();
}

LanguagePreference LanguagePreference::stored() {
    return stored(*UserDefaults::standard());
}

LanguagePreference LanguagePreference::stored(const UserDefaults& defaults) {
    const auto raw = defaults.string(storageKey);
    for (const LanguagePreference preference : all) {
        if (raw == preference.rawValue()) {
            return preference;
        }
    }
    return system;
}

std::string_view LanguagePreference::rawValue() const {
    switch (value_) {
        case system:
            return "system";
        case en:
            return "en";
        case zhHans:
            return "zhHans";
    }
    return {};
}

LocKey LanguagePreference::label() const {
    switch (value_) {
        case system:
            break;
        case en:
            return LocKey::langEnglish;
        case zhHans:
            return LocKey::langChinese;
    }
    return LocKey::langFollowSystem;
}

AppLanguage::Value LanguagePreference::appLanguage() const {
    switch (value_) {
        case system:
            break;
        case en:
            return AppLanguage::en;
        case zhHans:
            return AppLanguage::zh;
    }
    return AppLanguage::systemDefault();
}

}  // namespace tarn
