#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "TarnPlatform/audio/AudioFile.h"
#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/base/SerialQueue.h"
#include "TarnPlatform/capture/CaptureStream.h"

namespace tarn {

/// Receives what a capture hears, for one run of a session: turns each sample buffer into a PCM buffer of its
/// own, counts, measures the level and hands the buffer on.
///
/// Threads: audio buffers come on one serial queue and screen buffers on another; the callbacks run on the
/// former, in the order of delivery.
class AudioSink : public StreamOutput, public StreamDelegate {
public:
    // Set before the capture starts and left alone while it runs.
    std::function<void(const PcmBuffer&)> onPCM;  ///< every converted buffer, valid during the call
    std::function<void(float)> onLevel;           ///< its root mean square over all channels, linear
    std::function<void()> onEnd;                  ///< the capture ended by itself; thread: the capture's own
    /// Where to append every converted buffer as well; see AudioFile for what the extension says. A
    /// diagnostic facility, which makes the capture wait for the disk.
    std::optional<std::string> outputFile;

    // Since construction. Thread: any.
    std::int64_t audioBuffers() const { return audioBuffers_; }  ///< valid audio sample buffers received
    std::int64_t audioFrames() const { return audioFrames_; }    ///< frames of the converted ones
    std::int64_t videoFrames() const { return videoFrames_; }    ///< screen sample buffers received
    /// Of the first audio sample buffer. Thread: the audio queue, or any once the capture has stopped.
    const std::optional<AudioFormat>& inputFormat() const { return inputFormat_; }

    /// A buffer that was made of a capture's sample buffer elsewhere, for several sinks.
    /// Thread: that of audio buffers.
    void take(const PcmBuffer& buffer);

    void stream(CaptureStream& stream, const SampleBuffer& didOutputSampleBuffer,
                StreamOutputType type) override;
    /// One line in the log, and `onEnd`.
    void stream(CaptureStream& stream, const Error& didStopWithError) override;

    /// A copy of what a capture hands out; nothing where that is no sound of a known format.
    static std::optional<PcmBuffer> pcmBuffer(const SampleBuffer& sampleBuffer);

private:
    void noteFormat(const AudioFormat& format);
    void handOn(const PcmBuffer& buffer);
    static float rmsFloat32(const PcmBuffer& buffer);
    void writeToFile(const PcmBuffer& buffer, const std::string& path);

    std::atomic<std::int64_t> audioBuffers_{0};
    std::atomic<std::int64_t> audioFrames_{0};
    std::atomic<std::int64_t> videoFrames_{0};
    std::optional<AudioFormat> inputFormat_;
    std::optional<AudioFile> file_;  // created by the first write
    bool loggedFormat_ = false;
    // Last: a write that is under way uses the rest.
    SerialQueue writeQ_{"tarn.audio.write"};
};

}  // namespace tarn
