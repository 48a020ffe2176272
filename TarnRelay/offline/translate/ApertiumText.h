#pragma once

#include <string>
#include <string_view>

namespace tarn::relay {

/// Makes a text safe for Apertium's stream format, in which many characters mean something.
/// English "i" becomes the pronoun "I", which Apertium does not know in small letters.
/// Requires: `text` is UTF-8.
std::string toApertium(std::string_view text, std::string_view source);

/// The text of an answer in that format, with single spaces and a capital letter at its beginning.
std::string fromApertium(std::string_view answer);

}  // namespace tarn::relay
