#include "ServiceSpeech.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <optional>
#include <span>

#include "TarnCore/audio/ServiceAudio.h"
#include "TarnPlatform/audio/AudioConverter.h"

namespace tarn::relay {
namespace {

constexpr std::uint32_t sliceFrames = 4096;  // of output, converted at a time

AudioFormat monoAt(double rate) {
    return {.commonFormat = CommonFormat::int16,
            .sampleRate = rate,
            .channelCount = qwenOutputChannels,
            .interleaved = true,
            .channelLayout = std::nullopt};
}

std::unexpected<Error> unusable() {
    return failure(ErrorKind::invalidInput, "the voice's sound cannot be converted");
}

void append(std::vector<std::byte>& bytes, std::span<const std::int16_t> samples) {
    for (const auto sample : samples) {
        const auto bits = std::bit_cast<std::uint16_t>(sample);
        bytes.push_back(static_cast<std::byte>(bits & 0xFFU));
        bytes.push_back(static_cast<std::byte>(bits >> 8U));
    }
}

}  // namespace

Result<std::vector<std::byte>> toServiceSpeech(const Speech& speech) {
    if (speech.samples.empty()) {
        return {};
    }
    const auto from = monoAt(speech.rate);
    const auto to = monoAt(qwenOutputSampleRate);
    auto converter = AudioConverter::make(from, to);
    if (!converter || speech.samples.size() > std::numeric_limits<std::uint32_t>::max()) {
        return unusable();
    }
    const auto frames = static_cast<std::uint32_t>(speech.samples.size());
    auto input = PcmBuffer::make(from, frames);
    auto output = PcmBuffer::make(to, sliceFrames);
    if (!input || !output) {
        return unusable();
    }
    std::ranges::copy(speech.samples, input->int16ChannelData());
    input->setFrameLength(frames);

    // One buffer holds the whole text's sound; the end of the stream makes the filter give its last samples.
    bool given = false;
    const auto next = [&]() -> AudioConverter::Input {
        if (given) {
            return {.status = AudioConverter::InputStatus::endOfStream};
        }
        given = true;
        return {.status = AudioConverter::InputStatus::haveData, .buffer = &*input};
    };
    std::vector<std::byte> bytes;
    for (;;) {
        std::optional<Error> error;
        const auto status = converter->convert(*output, error, next);
        if (status == AudioConverter::OutputStatus::error) {
            return std::unexpected(*error);
        }
        append(bytes, {output->int16ChannelData(), output->frameLength()});
        if (status == AudioConverter::OutputStatus::endOfStream) {
            return bytes;
        }
    }
}

}  // namespace tarn::relay
