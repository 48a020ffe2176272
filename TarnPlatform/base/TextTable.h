#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Text.h"

namespace tarn {

/// A language that texts are written in.
enum class TextLanguage : std::uint8_t {
    english,
    chinese,  ///< Simplified
};

/// One text in both languages. UTF-8; "%1" to "%9" stand for what is filled in.
struct TextRow {
    std::string_view key;  ///< its name
    std::string_view english;
    std::string_view chinese;

    constexpr std::string_view in(TextLanguage language) const {
        return language == TextLanguage::chinese ? chinese : english;
    }
};

/// The texts whose keys are the enumeration `Key`: `rows`, in its order. The texts stand in a file of their
/// own, each as TARN_TEXT(key, English, Simplified Chinese); the header of the keys includes that file once
/// for the enumeration and once for the rows.
template <typename Key>
struct TextTable;

/// With the arguments in the places of "%1", "%2", … Control characters in them become spaces. Thread: any.
template <typename Key>
std::string text(Key key, TextLanguage language, std::initializer_list<std::string_view> arguments = {}) {
    return filledText(TextTable<Key>::rows.at(static_cast<std::size_t>(key)).in(language), arguments);
}

}  // namespace tarn
