#include "AudioConverter.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <span>
#include <utility>

#include "SampleConversion.h"

namespace tarn {
namespace {

constexpr std::size_t sliceFrames = 1024;  // small enough that all of a slice stays in the processor's cache

bool isConvertible(const AudioFormat& format) {
    return format.bytesPerSample() > 0 && format.channelCount > 0 &&
           format.channelCount <= PcmBuffer::mostChannels;
}

}  // namespace

std::optional<AudioConverter> AudioConverter::make(const AudioFormat& from, const AudioFormat& to) {
    if (!isConvertible(from) || !isConvertible(to)) {
        return std::nullopt;
    }
    const auto streams = from.channelCount == to.channelCount ? from.channelCount : 1;
    std::vector<RateConverter> rates;
    for (std::uint32_t i = 0; i < streams; ++i) {
        auto rate = RateConverter::make(from.sampleRate, to.sampleRate);
        if (!rate) {
            return std::nullopt;
        }
        rates.push_back(std::move(*rate));
    }
    return AudioConverter(from, to, std::move(rates));
}

AudioConverter::AudioConverter(const AudioFormat& from, const AudioFormat& to,
                               std::vector<RateConverter> rates)
    : from_(from),
      to_(to),
      fold_(from),
      rates_(std::move(rates)),
      channels_(from.channelCount, std::vector<float>(sliceFrames)),
      scratch_(sliceFrames) {}

AudioConverter::OutputStatus AudioConverter::convert(PcmBuffer& output, std::optional<Error>& error,
                                                     const InputCallback& input) {
    error.reset();
    try {
        return convertThrowing(output, error, input);
    } catch (const std::bad_alloc&) {
        error = Error{ErrorKind::system, "out of memory"};
        return OutputStatus::error;
    }
}

AudioConverter::OutputStatus AudioConverter::convertThrowing(PcmBuffer& output, std::optional<Error>& error,
                                                             const InputCallback& input) {
    output.setFrameLength(0);
    if (output.format() != to_) {
        error = Error{ErrorKind::invalidInput,
                      "the output is " + output.format().description() + ", not " + to_.description()};
        return OutputStatus::error;
    }
    // The filter's output goes out before more is asked for, so that input is taken only where it is
    // needed.
    for (;;) {
        fill(output);
        if (output.frameLength() == output.frameCapacity()) {
            return OutputStatus::haveData;
        }
        if (ended_) {
            return OutputStatus::endOfStream;
        }
        const auto next = input();
        switch (next.status) {
            case InputStatus::noDataNow:
                return OutputStatus::inputRanDry;
            case InputStatus::endOfStream:
                takeSilence();
                ended_ = true;
                break;
            case InputStatus::haveData:
                if (next.buffer == nullptr || next.buffer->format() != from_) {
                    error =
                        Error{ErrorKind::invalidInput,
                              next.buffer == nullptr ? "no input buffer was given"
                                                     : "the input is " + next.buffer->format().description() +
                                                           ", not " + from_.description()};
                    return OutputStatus::error;
                }
                take(*next.buffer);
                break;
        }
    }
}

void AudioConverter::take(const PcmBuffer& buffer) {
    std::uint32_t first = 0;
    while (first < buffer.frameLength()) {
        const auto count = std::min<std::size_t>(buffer.frameLength() - first, sliceFrames);
        for (std::uint32_t channel = 0; channel < from_.channelCount; ++channel) {
            readChannel(buffer, channel, first, std::span(channels_[channel]).first(count));
        }
        if (from_.channelCount == to_.channelCount) {
            for (std::size_t channel = 0; channel < rates_.size(); ++channel) {
                rates_[channel].write(std::span(channels_[channel]).first(count));
            }
        } else {
            const auto mono = std::span(scratch_).first(count);
            fold_.fold(channels_, mono);
            rates_.front().write(mono);
        }
        first += static_cast<std::uint32_t>(count);
    }
}

// The last sound of a stream is still inside the filter: as much silence as the filter's delay pushes it out.
void AudioConverter::takeSilence() {
    if (from_.sampleRate == to_.sampleRate) {
        return;
    }
    // One output step more, so that the last output is not before the last input.
    const double frames = delay() * from_.sampleRate + from_.sampleRate / to_.sampleRate;
    const std::vector<float> silence(static_cast<std::size_t>(std::ceil(frames)));
    for (auto& rate : rates_) {
        rate.write(silence);
    }
}

void AudioConverter::fill(PcmBuffer& output) {
    for (;;) {
        const auto first = output.frameLength();
        const auto room = std::min<std::size_t>(output.frameCapacity() - first, sliceFrames);
        std::size_t count = 0;
        for (std::uint32_t channel = 0; channel < to_.channelCount; ++channel) {
            // Beyond the converted streams the scratch keeps the folded one, which every channel carries.
            if (channel < rates_.size()) {
                count = rates_[channel].read(std::span(scratch_).first(room));
            }
            writeChannel(std::span(scratch_).first(count), output, channel, first);
        }
        output.setFrameLength(first + static_cast<std::uint32_t>(count));
        if (count < room || room == 0) {
            return;
        }
    }
}

}  // namespace tarn
