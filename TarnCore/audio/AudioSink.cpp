#include "AudioSink.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

bool isKnown(const AudioFormat& format) {
    return format.bytesPerSample() != 0 && format.channelCount != 0;
}

}  // namespace

void AudioSink::stream(CaptureStream&, const SampleBuffer& didOutputSampleBuffer, StreamOutputType type) {
    if (type == StreamOutputType::screen) {
        ++videoFrames_;
        return;
    }
    if (type != StreamOutputType::audio || !didOutputSampleBuffer.valid) {
        return;
    }
    ++audioBuffers_;
    if (const auto& format = didOutputSampleBuffer.formatDescription; format && isKnown(*format)) {
        noteFormat(*format);
    }
    if (const auto buffer = pcmBuffer(didOutputSampleBuffer)) {
        handOn(*buffer);
    }
}

void AudioSink::take(const PcmBuffer& buffer) {
    ++audioBuffers_;
    noteFormat(buffer.format());
    handOn(buffer);
}

void AudioSink::noteFormat(const AudioFormat& format) {
    if (!std::exchange(loggedFormat_, true)) {
        inputFormat_ = format;
        logLine("[capture] input format: " + decimalText(format.sampleRate) + "Hz " +
                std::to_string(format.channelCount) +
                "ch interleaved=" + (format.interleaved ? "true" : "false"));
    }
}

void AudioSink::handOn(const PcmBuffer& buffer) {
    audioFrames_ += buffer.frameLength();
    if (onPCM) {
        onPCM(buffer);
    }
    if (onLevel) {
        onLevel(rmsFloat32(buffer));
    }
    if (outputFile) {
        writeToFile(buffer, *outputFile);
    }
}

void AudioSink::stream(CaptureStream&, const Error& didStopWithError) {
    logLine("[capture] stream stopped: " + didStopWithError.description);
    if (onEnd) {
        onEnd();
    }
}

std::optional<PcmBuffer> AudioSink::pcmBuffer(const SampleBuffer& sampleBuffer) {
    const auto& format = sampleBuffer.formatDescription;
    if (!format || !isKnown(*format)) {
        return std::nullopt;
    }
    const auto frames = sampleBuffer.numSamples;
    if (frames == 0 || frames > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    auto buffer = PcmBuffer::make(*format, static_cast<std::uint32_t>(frames));
    if (!buffer) {
        return std::nullopt;
    }
    buffer->setFrameLength(static_cast<std::uint32_t>(frames));
    const auto& source = sampleBuffer.audioBufferList;
    if (!source || source->size() != buffer->planeCount()) {
        return std::nullopt;
    }
    for (std::uint32_t plane = 0; plane < buffer->planeCount(); ++plane) {
        const auto& from = (*source)[plane];
        const auto to = buffer->bytes(plane);
        if (from.data != nullptr && !to.empty()) {
            std::memcpy(to.data(), from.data, std::min(from.byteSize, to.size()));
        }
    }
    return buffer;
}

float AudioSink::rmsFloat32(const PcmBuffer& buffer) {
    const std::size_t frames = buffer.frameLength();
    const std::size_t channels = buffer.format().channelCount;
    if (buffer.floatChannelData() == nullptr || frames == 0 || channels == 0) {
        return 0;
    }
    const bool interleaved = buffer.format().interleaved;
    const std::size_t stride = interleaved ? channels : 1;
    float sum = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const float* samples = interleaved ? buffer.floatChannelData() + channel
                                           : buffer.floatChannelData(static_cast<std::uint32_t>(channel));
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const float sample = samples[frame * stride];
            sum += sample * sample;
        }
    }
    return std::sqrt(sum / static_cast<float>(frames * channels));
}

void AudioSink::writeToFile(const PcmBuffer& buffer, const std::string& path) {
    writeQ_.sync([&] {
        if (!file_) {
            auto opened = AudioFile::forWriting(path, buffer.format());
            if (!opened) {
                logLine("[capture] open file failed: " + opened.error().description);
                return;
            }
            file_ = std::move(*opened);
        }
        if (const auto written = file_->write(buffer); !written) {
            logLine("[capture] write failed: " + written.error().description);
        }
    });
}

}  // namespace tarn
