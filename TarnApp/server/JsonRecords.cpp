#include "JsonRecords.h"

#include <boost/json/parse.hpp>
#include <map>

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
    return UserAccount{std::move(*userId), std::move(*email)};
}

}  // namespace tarn
