#include "AudioResampler.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "ServiceAudio.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::uint32_t marginFrames = 16;

}  // namespace

AudioResampler::AudioResampler()
    : dstFormat_{CommonFormat::int16, qwenInputSampleRate, qwenInputChannels, true, std::nullopt} {}

std::optional<std::vector<std::byte>> AudioResampler::process(const PcmBuffer& buffer) {
    if (const auto& done = buffer.conversion(); done && done->format == dstFormat_) {
        return done->bytes;
    }
    const auto& format = buffer.format();
    if (srcFormat_ != format) {
        srcFormat_ = format;
        converter_ = AudioConverter::make(format, dstFormat_);
        if (!converter_) {
            logLine("[resample] AVAudioConverter init failed for " + format.description());
            return std::nullopt;
        }
    }
    if (!converter_) {
        return std::nullopt;
    }

    const double wanted =
        dstFormat_.sampleRate / format.sampleRate * static_cast<double>(buffer.frameLength());
    if (!(wanted < static_cast<double>(std::numeric_limits<std::uint32_t>::max() - marginFrames))) {
        return std::nullopt;
    }
    auto output = PcmBuffer::make(dstFormat_, static_cast<std::uint32_t>(wanted) + marginFrames);
    if (!output) {
        return std::nullopt;
    }

    bool given = false;
    std::optional<Error> error;
    const auto status = converter_->convert(*output, error, [&]() -> AudioConverter::Input {
        if (std::exchange(given, true)) {
            return {AudioConverter::InputStatus::noDataNow, nullptr};
        }
        return {AudioConverter::InputStatus::haveData, &buffer};
    });
    if (status == AudioConverter::OutputStatus::error) {
        logLine("[resample] convert error: " + (error ? error->description : std::string("?")));
        return std::nullopt;
    }
    const auto* samples = std::as_const(*output).int16ChannelData();
    if (output->frameLength() == 0 || samples == nullptr) {
        return std::nullopt;
    }
    return toServiceBytes({samples, output->frameLength()});
}

}  // namespace tarn
