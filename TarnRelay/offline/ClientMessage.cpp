#include "ClientMessage.h"

#include <boost/json.hpp>

#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

// The bytes are put together one by one, because the wire is little-endian on every machine.
std::vector<std::int16_t> samplesOf(const std::vector<std::byte>& bytes) {
    std::vector<std::int16_t> samples(bytes.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto low = std::to_integer<unsigned>(bytes[2 * i]);
        const auto high = std::to_integer<unsigned>(bytes[2 * i + 1]);
        samples[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>(high << 8U | low));
    }
    return samples;
}

const json::string* stringAt(const json::object& object, std::string_view key) {
    const auto* value = object.if_contains(key);
    return value == nullptr ? nullptr : value->if_string();
}

}  // namespace

std::expected<ClientMessage, std::string> parseClientMessage(std::string_view text) {
    if (text.size() > largestClientMessage) {
        return std::unexpected("it is larger than 1 MiB");
    }
    // A deeply nested text would exhaust the stack of a recursive reader; no message of the protocol needs
    // depth.
    json::parse_options options;
    options.max_depth = 16;
    boost::system::error_code error;
    const auto parsed = json::parse(text, error, {}, options);
    if (error) {
        return std::unexpected("it is not JSON");
    }
    const auto* object = parsed.if_object();
    const auto* type = object == nullptr ? nullptr : stringAt(*object, "type");
    if (type == nullptr) {
        return std::unexpected("it is not an object with a type");
    }
    if (*type == events::sessionUpdate) {
        return SessionUpdate{};
    }
    if (*type != events::audioAppend) {
        return OtherMessage{};
    }
    const auto* audio = stringAt(*object, "audio");
    const auto bytes = audio == nullptr ? std::nullopt : base64Decode(*audio);
    if (!bytes) {
        return std::unexpected("its audio is not base64");
    }
    if (bytes->size() % 2 != 0) {
        return std::unexpected("its audio ends in the middle of a sample");
    }
    return AudioAppend{samplesOf(*bytes)};
}

}  // namespace tarn::relay
