#pragma once

#include <QObject>
#include <array>
#include <cstdint>
#include <string_view>

#include "AppLanguage.h"
#include "LocKey.h"
#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// What the user wants the interface to speak. Value type, used like the enumeration inside it. Thread: any.
class LanguagePreference {
    Q_GADGET
public:
    enum Value : std::uint8_t { system, en, zhHans };
    Q_ENUM(Value)

    /// In the order of the picker.
    static constexpr std::array<Value, 3> all{system, en, zhHans};
    static constexpr std::string_view storageKey = "app.language";

    constexpr LanguagePreference(Value value) : value_(value) {}  // NOLINT: as good as its value
    constexpr operator Value() const { return value_; }           // NOLINT

    /// The stored one, read afresh on every call; `system` where there is none or none of ours.
    static LanguagePreference stored();
    static LanguagePreference stored(const UserDefaults& defaults);

    std::string_view rawValue() const;       ///< as it is stored
    LocKey label() const;                    ///< its name in the picker
    AppLanguage::Value appLanguage() const;  ///< the language it comes to at this moment

private:
    Value value_;
};

}  // namespace tarn
