// Arbitrary messages into what the offline engine reads of its clients: JSON with base64 sound in it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "TarnPlatform/net/Base64.h"
#include "TarnRelay/offline/ClientMessage.h"

namespace {

using namespace tarn;

/// Sound that was read is written again; it must read as the same.
void checkRoundTrip(const relay::AudioAppend& sound) {
    const auto audio = base64Encode(std::as_bytes(std::span(sound.samples)));
    const auto again =
        relay::parseClientMessage(R"({"type":"input_audio_buffer.append","audio":")" + audio + "\"}");
    const auto* append = again ? std::get_if<relay::AudioAppend>(&*again) : nullptr;
    if (append == nullptr || append->samples != sound.samples) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto message = relay::parseClientMessage(text);
    if (!message) {
        if (message.error().empty()) {
            std::abort();
        }
    } else if (const auto* sound = std::get_if<relay::AudioAppend>(&*message)) {
        checkRoundTrip(*sound);
    }
    return 0;
}
