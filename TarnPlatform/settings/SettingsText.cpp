#include "SettingsText.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "TarnPlatform/base/DecimalText.h"

namespace tarn {
namespace {

namespace json = boost::json;

/// Builds the value as the library's own parser does, but for the fractions: that one (up to Boost 1.81) is
/// off by a last digit in every sixth value of a slider, so they are read from their characters.
class ExactValues {
public:
    static constexpr std::size_t max_object_size = SIZE_MAX;
    static constexpr std::size_t max_array_size = SIZE_MAX;
    static constexpr std::size_t max_key_size = SIZE_MAX;
    static constexpr std::size_t max_string_size = SIZE_MAX;

    json::value take() { return stack_.release(); }

    bool on_document_begin(json::error_code&) {
        stack_.reset();
        return true;
    }
    bool on_document_end(json::error_code&) { return true; }
    bool on_object_begin(json::error_code&) { return true; }
    bool on_object_end(std::size_t count, json::error_code&) { return stack_.push_object(count), true; }
    bool on_array_begin(json::error_code&) { return true; }
    bool on_array_end(std::size_t count, json::error_code&) { return stack_.push_array(count), true; }
    bool on_key_part(json::string_view part, std::size_t, json::error_code&) {
        return stack_.push_chars(part), true;
    }
    bool on_key(json::string_view part, std::size_t, json::error_code&) {
        return stack_.push_key(part), true;
    }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&) {
        return stack_.push_chars(part), true;
    }
    bool on_string(json::string_view part, std::size_t, json::error_code&) {
        return stack_.push_string(part), true;
    }
    // The text comes in one piece, so numbers do too.
    bool on_number_part(json::string_view, json::error_code&) { return true; }
    bool on_int64(std::int64_t number, json::string_view, json::error_code&) {
        return stack_.push_int64(number), true;
    }
    bool on_uint64(std::uint64_t number, json::string_view, json::error_code&) {
        return stack_.push_uint64(number), true;
    }
    bool on_double(double number, json::string_view digits, json::error_code&) {
        // Out of range leaves the parser's own value, an infinity or zero; the former has no form in JSON.
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        constexpr double greatest = std::numeric_limits<double>::max();
        number = std::clamp(number, -greatest, greatest);
        return stack_.push_double(number), true;
    }
    bool on_bool(bool value, json::error_code&) { return stack_.push_bool(value), true; }
    bool on_null(json::error_code&) { return stack_.push_null(), true; }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }

private:
    json::value_stack stack_;
};

}  // namespace

std::string settingsText(const json::object& values) {
    std::string text = "{";
    const char* separator = "\n";
    for (const auto& entry : values) {
        const auto& value = entry.value();
        text += separator;
        text += "  " + json::serialize(json::string(entry.key())) + ": ";
        text += value.is_double() ? decimalText(value.get_double()) : json::serialize(value);
        separator = ",\n";
    }
    return text + "\n}\n";
}

Result<json::object> parseSettings(std::string_view text) {
    json::basic_parser<ExactValues> parser{json::parse_options{}};
    json::error_code error;
    const auto length = parser.write_some(false, text.data(), text.size(), error);
    if (!error && text.find_first_not_of(" \t\r\n", length) != std::string_view::npos) {
        error = json::error::extra_data;
    }
    if (error) {
        return failure(ErrorKind::invalidInput, "is not valid JSON (" + error.message() + ")");
    }
    auto value = parser.handler().take();
    if (!value.is_object()) {
        return failure(ErrorKind::invalidInput, "does not hold a JSON object");
    }
    return std::move(value.get_object());
}

}  // namespace tarn
