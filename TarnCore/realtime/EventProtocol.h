#pragma once

#include <boost/json/fwd.hpp>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "QwenConfig.h"

namespace tarn {

/// JSON text of the "session.update" that opens a connection.
std::string sessionUpdateEvent(const std::string& eventId, const QwenConfig& config);

/// JSON text of one "input_audio_buffer.append". `pcm`: s16le, 16 kHz, mono.
std::string audioAppendEvent(const std::string& eventId, std::span<const std::byte> pcm);

/// What an "error" event of the service says, as it says it: "[code] message".
std::string complaintOf(const boost::json::object& errorEvent);

}  // namespace tarn
