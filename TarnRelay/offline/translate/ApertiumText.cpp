#include "ApertiumText.h"

#include <wctype.h>

#include <boost/locale/utf.hpp>
#include <clocale>
#include <iterator>

namespace tarn::relay {
namespace {

namespace utf = boost::locale::utf;
using Utf8 = utf::utf_traits<char>;

constexpr std::string_view special = "\\[]{}^$@/<>";

bool isWordEdge(char character) {
    return character == '\'' || character == ' ' || character == '\n' || character == '\t' ||
           character == '.' || character == ',' || character == '?' || character == '!';
}

// The process's own locale may be "C", which knows no letters beyond ASCII.
wint_t toUpper(wint_t letter) {
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale != nullptr ? ::towupper_l(letter, locale) : ::towupper(letter);
}

std::string withCapital(const std::string& text) {
    auto rest = text.begin();
    const auto first = Utf8::decode(rest, text.end());
    if (!utf::is_valid_codepoint(first)) {
        return text;
    }
    std::string result;
    Utf8::encode(static_cast<utf::code_point>(toUpper(first)), std::back_inserter(result));
    return result.append(rest, text.end());
}

}  // namespace

std::string toApertium(std::string_view text, std::string_view source) {
    std::string result;
    result.reserve(text.size() + text.size() / 8);
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (character == '\0') {
            result.push_back(' ');  // a NUL byte would end the text
        } else if (character == '~') {
            result.append(
                "[~]");  // as a formatting mark this character passes untouched, escaped it does not
        } else if (special.find(character) != std::string_view::npos) {
            result.push_back('\\');
            result.push_back(character);
        } else if (character == 'i' && source == "en" && (at == 0 || isWordEdge(text[at - 1])) &&
                   (at + 1 == text.size() || isWordEdge(text[at + 1]))) {
            result.push_back('I');
        } else {
            result.push_back(character);
        }
    }
    return result;
}

std::string fromApertium(std::string_view answer) {
    std::string text;
    text.reserve(answer.size());
    for (std::size_t at = 0; at < answer.size(); ++at) {
        char character = answer[at];
        if (character == '[' || character == ']') {
            continue;  // these bound a formatting mark, since brackets of the text itself are escaped
        }
        if (character == '\\' && at + 1 < answer.size()) {
            character = answer[++at];
        }
        if (character == ' ' && (text.empty() || text.back() == ' ')) {
            continue;
        }
        text.push_back(character);
    }
    if (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return withCapital(text);
}

}  // namespace tarn::relay
