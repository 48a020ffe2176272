#include "SettingsText.h"

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <charconv>
#include <limits>

namespace tarn {
namespace {

namespace json = boost::json;

/// The library's parser (up to Boost 1.81) misses the last bit of every tenth fraction with 16 digits or
/// more, and of none with fewer: a number that is written with 15 digits stays the same however often it is
/// read and written again.
std::string fractionText(double number) {
    // Infinity, which a number beyond the range of a double becomes when it is read, has no form in JSON.
    constexpr double greatest = std::numeric_limits<double>::max();
    constexpr int digits = std::numeric_limits<double>::digits10;
    std::array<char, 32> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), std::clamp(number, -greatest, greatest),
                      std::chars_format::general, digits)
            .ptr;
    const std::string written(text.data(), end);
    // Without a point or an exponent it would be read as an integer.
    return written.find_first_of(".e") == std::string::npos ? written + ".0" : written;
}

}  // namespace

std::string settingsText(const json::object& values) {
    std::string text = "{";
    const char* separator = "\n";
    for (const auto& entry : values) {
        const auto& value = entry.value();
        text += separator;
        text += "  " + json::serialize(json::string(entry.key())) + ": ";
        text += value.is_double() ? fractionText(value.get_double()) : json::serialize(value);
        separator = ",\n";
    }
    return text + "\n}\n";
}

Result<json::object> parseSettings(std::string_view text) {
    json::error_code error;
    auto value = json::parse(text, error);
    if (error) {
        return failure(ErrorKind::invalidInput, "is not valid JSON (" + error.message() + ")");
    }
    if (!value.is_object()) {
        return failure(ErrorKind::invalidInput, "does not hold a JSON object");
    }
    return std::move(value.get_object());
}

}  // namespace tarn
