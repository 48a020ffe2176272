#include "RecordLines.h"

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

namespace json = boost::json;
using std::chrono::milliseconds;

/// Raised when an older program would read a newer line wrongly; what it does not know it passes over.
constexpr std::int64_t version = 1;

constexpr std::array<std::pair<Utterance::Kind, std::string_view>, 3> kinds{{
    {Utterance::Kind::speech, "speech"},
    {Utterance::Kind::untranslated, "untranslated"},
    {Utterance::Kind::unspoken, "unspoken"},
}};

std::string lineOf(const json::object& object) {
    return json::serialize(object) + "\n";
}

/// A line must be readable again, whatever a service has sent.
json::string textOf(const std::string& text) {
    return isUtf8(text) ? json::string(text) : json::string("\uFFFD");
}

std::optional<json::object> objectIn(std::string_view line) {
    boost::system::error_code error;
    auto value = json::parse(json::string_view(line.data(), line.size()), error);
    auto* const object = error ? nullptr : value.if_object();
    return object == nullptr ? std::nullopt : std::optional(std::move(*object));
}

std::optional<std::int64_t> numberIn(const json::object& object, std::string_view key) {
    const auto* const value = object.if_contains(key);
    if (value == nullptr || !value->is_number()) {
        return std::nullopt;
    }
    boost::system::error_code error;
    const auto number = value->to_number<std::int64_t>(error);
    return error ? std::nullopt : std::optional(number);
}

/// Nothing beyond the year 9999 or before 1970, which nobody can have meant.
std::optional<milliseconds> timeIn(const json::object& object, std::string_view key) {
    constexpr std::int64_t latest = 253'402'300'799'999;
    const auto number = numberIn(object, key);
    return number && *number >= 0 && *number <= latest ? std::optional(milliseconds(*number)) : std::nullopt;
}

std::string textIn(const json::object& object, std::string_view key) {
    const auto* const value = object.if_contains(key);
    const auto* const text = value == nullptr ? nullptr : value->if_string();
    return text == nullptr ? std::string() : std::string(*text);
}

int sourceNumberIn(const json::object& object) {
    const auto number = numberIn(object, "source").value_or(0);
    return static_cast<int>(std::clamp<std::int64_t>(number, 0, std::numeric_limits<int>::max()));
}

}  // namespace

std::string lineOf(const RecordHeader& header) {
    json::array sources;
    for (const RecordSource& source : header.sources) {
        sources.push_back(json::object{{"source", source.number},
                                       {"name", textOf(source.name)},
                                       {"from", textOf(source.sourceLang)},
                                       {"to", textOf(source.targetLang)}});
    }
    return lineOf(json::object{{"tarn", "record"},
                               {"version", version},
                               {"at", header.started.time_since_epoch().count()},
                               {"sources", std::move(sources)}});
}

std::string lineOf(const Utterance& utterance) {
    const auto kind = std::ranges::find(kinds, utterance.kind, [](const auto& entry) { return entry.first; });
    json::object object{
        {"kind", json::string(kind->second)},   {"source", utterance.source},
        {"name", textOf(utterance.sourceName)}, {"from", textOf(utterance.sourceLang)},
        {"to", textOf(utterance.targetLang)},   {"at", utterance.saidAt.time_since_epoch().count()},
        {"begin", utterance.begin.count()},     {"end", utterance.end.count()}};
    if (utterance.kind == Utterance::Kind::speech) {
        object["text"] = textOf(utterance.text);
        object["translation"] = textOf(utterance.translation);
    } else {
        object["seconds"] = utterance.seconds;
    }
    return lineOf(object);
}

Result<RecordHeader> headerIn(std::string_view line) {
    const auto object = objectIn(line);
    const auto number = object ? numberIn(*object, "version") : std::nullopt;
    if (!object || !number || *number < 1 || textIn(*object, "tarn") != "record") {
        return failure(ErrorKind::invalidInput, "this is no record");
    }
    if (*number > version) {
        return failure(ErrorKind::protocol, "a newer version of Tarn has written this record");
    }
    RecordHeader header;
    header.started = Utterance::TimePoint(timeIn(*object, "at").value_or(milliseconds(0)));
    const auto* const sources = object->if_contains("sources");
    if (sources != nullptr && sources->is_array()) {
        for (const json::value& value : sources->get_array()) {
            if (const auto* const source = value.if_object()) {
                header.sources.push_back({sourceNumberIn(*source), textIn(*source, "name"),
                                          textIn(*source, "from"), textIn(*source, "to")});
            }
        }
    }
    return header;
}

std::optional<Utterance> utteranceIn(std::string_view line) {
    const auto object = objectIn(line);
    const auto at = object ? timeIn(*object, "at") : std::nullopt;
    if (!at) {
        return std::nullopt;
    }
    const auto kind = std::ranges::find(kinds, std::string_view(textIn(*object, "kind")),
                                        [](const auto& entry) { return entry.second; });
    if (kind == kinds.end()) {
        return std::nullopt;
    }
    Utterance utterance;
    utterance.kind = kind->first;
    utterance.source = sourceNumberIn(*object);
    utterance.sourceName = textIn(*object, "name");
    utterance.sourceLang = textIn(*object, "from");
    utterance.targetLang = textIn(*object, "to");
    utterance.saidAt = Utterance::TimePoint(*at);
    utterance.begin = timeIn(*object, "begin").value_or(milliseconds(0));
    utterance.end = std::max(utterance.begin, timeIn(*object, "end").value_or(milliseconds(0)));
    utterance.text = textIn(*object, "text");
    utterance.translation = textIn(*object, "translation");
    const auto* const seconds = object->if_contains("seconds");
    if (seconds != nullptr && seconds->is_number() && std::isfinite(seconds->to_number<double>())) {
        utterance.seconds = std::max(seconds->to_number<double>(), 0.0);
    }
    return utterance;
}

}  // namespace tarn
