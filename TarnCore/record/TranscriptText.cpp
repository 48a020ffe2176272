#include "TranscriptText.h"

#include <array>
#include <boost/locale/utf.hpp>
#include <cstdio>

namespace tarn {
namespace {

namespace utf = boost::locale::utf;
using Utf8 = utf::utf_traits<char>;

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

bool turnsDirection(utf::code_point c) {
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

/// C0, DEL and C1; the separators of lines and paragraphs; white space that may be broken.
bool isSpace(utf::code_point c) {
    return c <= 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0x3000;
}

/// Calls `take` with each character and its bytes; what is no character is U+FFFD.
template <typename Take>
void forEachCharacter(std::string_view text, Take take) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        const char* const first = at;
        const auto character = Utf8::decode(at, end);
        if (utf::is_valid_codepoint(character)) {
            take(character, std::string_view(first, at));
        } else {
            take(utf::code_point{0xFFFD}, replacementCharacter);
            at = first + 1;  // what follows may begin a character
        }
    }
}

}  // namespace

std::string validText(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    forEachCharacter(text, [&](utf::code_point, std::string_view bytes) { valid += bytes; });
    return valid;
}

std::string readableText(std::string_view text) {
    constexpr utf::code_point byteOrderMark = 0xFEFF;
    std::string line;
    line.reserve(text.size());
    bool spaced = false;
    forEachCharacter(text, [&](utf::code_point character, std::string_view bytes) {
        if (turnsDirection(character) || character == byteOrderMark) {
            return;
        }
        if (isSpace(character)) {
            spaced = !line.empty();
            return;
        }
        line += spaced ? " " : "";
        line += bytes;
        spaced = false;
    });
    return line;
}

std::string replaced(std::string_view text, std::string_view part, std::string_view replacement) {
    std::string result;
    for (std::size_t found = 0; (found = text.find(part)) != std::string_view::npos;) {
        result += text.substr(0, found);
        result += replacement;
        text.remove_prefix(found + part.size());
    }
    return result + std::string(text);
}

std::string positionText(std::chrono::milliseconds position, char mark) {
    const long long all = position.count() < 0 ? 0 : position.count();
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02lld:%02lld:%02lld%c%03lld", all / 3600000, all / 60000 % 60,
                  all / 1000 % 60, mark, all % 1000);
    return text.data();
}

std::string shortPositionText(std::chrono::milliseconds position) {
    const auto whole = positionText(position, '.');
    const auto seconds = whole.substr(0, whole.size() - 4);
    return seconds.starts_with('0') ? seconds.substr(1) : seconds;
}

std::string momentText(std::chrono::sys_time<std::chrono::milliseconds> moment) {
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(day);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text.data() + positionText(moment - day, '.') + "Z";
}

}  // namespace tarn
