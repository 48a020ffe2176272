#include "StreamQuery.h"

#include <algorithm>
#include <boost/url/parse_query.hpp>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace tarn::relay {
namespace {

constexpr std::size_t maxCodeBytes = 16;
constexpr std::size_t maxTextBytes = 64;

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/// A language code or another short name: letters, digits, "-" and "_".
bool isName(const std::string& text) {
    return !text.empty() && text.size() <= maxCodeBytes &&
           std::ranges::all_of(text, [](char c) { return isLetterOrDigit(c) || c == '-' || c == '_'; });
}

/// Whether a text is printable ASCII of a bounded length. Names of voices hold spaces and other characters
/// ("en+f3").
bool isShortText(const std::string& text) {
    return text.size() <= maxTextBytes &&
           std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

Result<StreamSettings> parseStreamQuery(std::string_view query) {
    const auto parsed = boost::urls::parse_query(query);
    if (!parsed) {
        return failure(ErrorKind::invalidInput, "the query is not properly percent-encoded");
    }
    std::map<std::string, std::string> items;
    for (const auto& item : *parsed) {
        const bool isNew = items.emplace(item.key.decode(), item.value.decode()).second;
        if (!isNew) {
            return failure(ErrorKind::invalidInput, "an item is given twice");
        }
    }
    const auto take = [&items](const char* name) -> std::optional<std::string> {
        const auto found = items.find(name);
        return found == items.end() ? std::nullopt : std::optional(found->second);
    };

    StreamSettings settings;
    const auto target = take("target");
    if (!target) {
        return failure(ErrorKind::invalidInput, "\"target\" is missing");
    }
    if (!isName(*target)) {
        return failure(ErrorKind::invalidInput, "\"target\" is not a language code");
    }
    settings.target = *target;
    settings.source = take("source");
    if (settings.source && !isName(*settings.source)) {
        return failure(ErrorKind::invalidInput, "\"source\" is not a language code");
    }
    settings.voice = take("voice");
    if (settings.voice && (settings.voice->empty() || !isShortText(*settings.voice))) {
        return failure(ErrorKind::invalidInput, "\"voice\" is not the name of a voice");
    }
    settings.clone = take("clone").value_or("none");
    // Any frequency is accepted, since the translation service decides which ones there are.
    if (!isShortText(settings.clone)) {
        return failure(ErrorKind::invalidInput, "\"clone\" is not printable ASCII of at most 64 characters");
    }
    if (const auto silence = take("vad_ms")) {
        int milliseconds = 0;
        const auto* const end = silence->data() + silence->size();
        const auto [rest, error] = std::from_chars(silence->data(), end, milliseconds);
        if (error != std::errc() || rest != end) {
            return failure(ErrorKind::invalidInput, "\"vad_ms\" is not a whole number of 32 bits");
        }
        settings.silenceMs = milliseconds;
    }
    return settings;
}

}  // namespace tarn::relay
