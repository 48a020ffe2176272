#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "AudioFormat.h"
#include "ChannelFold.h"
#include "PcmBuffer.h"
#include "RateConverter.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Converts one continuous stream from a format to another: sample type, channels and rate.
///
/// The filter's state is kept between calls, so that buffers of any size join without a seam. A different
/// number of channels is first folded to one (see ChannelFold), which every channel of the target then
/// carries. Integer samples pass through exactly where rate and channels stay. Not thread-safe.
class AudioConverter {
public:
    enum class InputStatus : std::uint8_t {
        haveData,     ///< the buffer is the next of the stream
        noDataNow,    ///< nothing yet; more may come with a later call
        endOfStream,  ///< nothing will come: what the filter still holds is wanted
    };

    enum class OutputStatus : std::uint8_t {
        haveData,     ///< the output is full
        inputRanDry,  ///< the output holds what the input allowed, possibly nothing
        endOfStream,  ///< as before, and it was the last
        error,
    };

    /// The buffer is read before the callback is called again and must live until then, or until the
    /// conversion returns.
    struct Input {
        InputStatus status = InputStatus::noDataNow;
        const PcmBuffer* buffer = nullptr;
    };

    using InputCallback = std::function<Input()>;

    /// Nothing when a format cannot be converted: a sample type that is not known, no channels or more than
    /// PcmBuffer::mostChannels, a rate outside RateConverter's limits.
    static std::optional<AudioConverter> make(const AudioFormat& from, const AudioFormat& to);

    /// Overwrites `output` up to its capacity and sets its frame length. Input is asked for only while the
    /// output has room; a buffer once taken is taken whole, and what does not fit comes out of the next call.
    /// With `error` status, `error` says what is wrong: a buffer of another format, or memory that ran out.
    OutputStatus convert(PcmBuffer& output, std::optional<Error>& error, const InputCallback& input);

    /// Delay of the stream in seconds, from the filter alone.
    double delay() const { return rates_.front().delay(); }

private:
    AudioConverter(const AudioFormat& from, const AudioFormat& to, std::vector<RateConverter> rates);

    OutputStatus convertThrowing(PcmBuffer& output, std::optional<Error>& error, const InputCallback& input);
    void take(const PcmBuffer& buffer);
    void takeSilence();
    void fill(PcmBuffer& output);

    AudioFormat from_;
    AudioFormat to_;
    ChannelFold fold_;
    std::vector<RateConverter> rates_;          // one for each channel; a single one where they are folded
    std::vector<std::vector<float>> channels_;  // a slice of the input, one plane for each channel
    std::vector<float> scratch_;
    bool ended_ = false;
};

}  // namespace tarn
