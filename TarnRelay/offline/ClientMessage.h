#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarn::relay {

/// Sound of a client: signed 16-bit, 16 kHz, mono.
struct AudioAppend {
    std::vector<std::int16_t> samples;
};
struct SessionUpdate {};
/// A message of any other type, which is passed over.
struct OtherMessage {};

using ClientMessage = std::variant<AudioAppend, SessionUpdate, OtherMessage>;

inline constexpr std::size_t largestClientMessage = std::size_t{1} << 20;  ///< bytes; 24 s of sound

/// Reads one message of a client. The error says in a few words, for people, what is wrong with the message.
/// It quotes none of it, since it may hold speech.
std::expected<ClientMessage, std::string> parseClientMessage(std::string_view text);

}  // namespace tarn::relay
