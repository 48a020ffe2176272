#pragma once

#include <string>
#include <string_view>

namespace tarn::relay {

/// Escapes a text for Apertium's stream format, in which many characters have a meaning.
/// English "i" becomes the pronoun "I", which Apertium does not know in lower case.
/// Requires: `text` is UTF-8.
std::string toApertium(std::string_view text, std::string_view source);

/// Unescapes an answer in that format. The text has single spaces and begins with a capital letter.
std::string fromApertium(std::string_view answer);

}  // namespace tarn::relay
