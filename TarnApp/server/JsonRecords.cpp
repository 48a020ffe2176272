#include "JsonRecords.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace tarn {
namespace {

namespace json = boost::json;

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
char raised(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

using Fields = std::map<std::string, const json::value*, std::less<>>;

Result<std::string> stringField(const Fields& fields, std::string_view name) {
    const auto found = fields.find(name);
    if (found == fields.end()) {
        return failure(ErrorKind::protocol, "\"" + std::string(name) + "\" is missing");
    }
    if (!found->second->is_string()) {
        return failure(ErrorKind::protocol, "\"" + std::string(name) + "\" is not a string");
    }
    return std::string(found->second->as_string());
}

constexpr std::size_t mostEntries = 256;
constexpr std::size_t longestCode = 16;
constexpr std::size_t longestVoice = 64;

/// Returns the first `mostEntries` usable texts of a list, each once.
std::vector<std::string> texts(const json::value& value, std::size_t longest) {
    std::vector<std::string> result;
    if (!value.is_array()) {
        return result;
    }
    std::set<std::string_view> known;
    for (const auto& entry : value.as_array()) {
        if (!entry.is_string() || result.size() == mostEntries) {
            continue;
        }
        const std::string_view text = entry.as_string();
        const bool isPlain = std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
        if (isPlain && !text.empty() && text.size() <= longest && known.insert(text).second) {
            result.emplace_back(text);
        }
    }
    return result;
}

using Lists = std::map<std::string, std::vector<std::string>>;

/// Returns the lists of an object by language code; nothing where it is not an object.
std::optional<Lists> lists(const json::object& object, std::string_view name, std::size_t longest) {
    const auto* const value = object.if_contains(name);
    if (value == nullptr || !value->is_object()) {
        return std::nullopt;
    }
    Lists result;
    for (const auto& member : value->as_object()) {
        const std::string_view code = member.key();
        if (!code.empty() && code.size() <= longestCode && result.size() < mostEntries) {
            result.emplace(code, texts(member.value(), longest));
        }
    }
    return result;
}

}  // namespace

std::string camelCaseKey(std::string_view key) {
    const auto first = key.find_first_not_of('_');
    if (first == std::string_view::npos) {
        return std::string(key);
    }
    const auto end = key.find_last_not_of('_') + 1;
    const auto middle = key.substr(first, end - first);
    if (!middle.contains('_')) {
        return std::string(key);
    }
    std::string result(key.substr(0, first));
    bool isFirstWord = true;
    bool beginsWord = false;
    for (const char c : middle) {
        if (c == '_') {
            isFirstWord = false;
            beginsWord = true;
            continue;
        }
        result.push_back(beginsWord && !isFirstWord ? raised(c) : lowered(c));
        beginsWord = false;
    }
    result.append(key.substr(end));
    return result;
}

std::optional<ServerLanguages> readLanguages(const json::value& value) {
    if (!value.is_object()) {
        return std::nullopt;
    }
    const auto& object = value.as_object();
    ServerLanguages languages;
    if (const auto* const hears = object.if_contains("hears")) {
        languages.hears = texts(*hears, longestCode);
    }
    languages.translates = lists(object, "translates", longestCode).value_or(Lists());
    languages.voices = lists(object, "voices", longestVoice);
    return languages == ServerLanguages() ? std::nullopt : std::optional(std::move(languages));
}

template <>
Result<UserAccount> decodeRecord(std::string_view body) {
    json::error_code error;
    const auto value = json::parse(json::string_view(body.data(), body.size()), error);
    if (error) {
        return failure(ErrorKind::protocol, "not JSON: " + error.message());
    }
    if (!value.is_object()) {
        return failure(ErrorKind::protocol, "not a JSON object");
    }
    Fields fields;
    for (const auto& member : value.as_object()) {
        fields.emplace(camelCaseKey(std::string_view(member.key().data(), member.key().size())),
                       &member.value());
    }
    auto userId = stringField(fields, "userId");
    if (!userId) {
        return std::unexpected(userId.error());
    }
    auto email = stringField(fields, "email");
    if (!email) {
        return std::unexpected(email.error());
    }
    UserAccount account{std::move(*userId), std::move(*email)};
    if (const auto found = fields.find("languages"); found != fields.end()) {
        account.languages = readLanguages(*found->second);
    }
    return account;
}

}  // namespace tarn
