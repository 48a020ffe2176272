#include "WaveParser.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace tarn::relay {
namespace {

static_assert(std::endian::native == std::endian::little, "samples are copied as they are");

template <typename T>
T numberAt(std::string_view bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

}  // namespace

Result<Speech> parseWave(std::string_view bytes) {
    if (bytes.size() < 12 || !bytes.starts_with("RIFF") || bytes.substr(8, 4) != "WAVE") {
        return failure(ErrorKind::protocol, "wrote something that is not a WAV stream");
    }
    bytes.remove_prefix(12);
    Speech speech;
    while (bytes.size() >= 8) {
        const auto name = bytes.substr(0, 4);
        const std::size_t size = numberAt<std::uint32_t>(bytes, 4);
        bytes.remove_prefix(8);
        const auto body = bytes.substr(0, size);
        if (name == "fmt " && body.size() >= 16) {
            const bool pcm16Mono = numberAt<std::uint16_t>(body, 0) == 1 &&
                                   numberAt<std::uint16_t>(body, 2) == 1 &&
                                   numberAt<std::uint16_t>(body, 14) == 16;
            const auto rate = numberAt<std::uint32_t>(body, 4);
            if (!pcm16Mono || rate < lowestSpeechRate || rate > highestSpeechRate) {
                return failure(ErrorKind::protocol, "wrote a WAV stream that is not 16-bit mono PCM");
            }
            speech.rate = static_cast<int>(rate);
        } else if (name == "data" && speech.rate > 0) {
            speech.samples.resize(body.size() / 2);
            if (!speech.samples.empty()) {
                std::memcpy(speech.samples.data(), body.data(), speech.samples.size() * 2);
            }
            return speech;
        }
        bytes.remove_prefix(std::min(bytes.size(), size + size % 2));
    }
    return failure(ErrorKind::protocol, "wrote a WAV stream without sound");
}

}  // namespace tarn::relay
