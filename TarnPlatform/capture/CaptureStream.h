#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

/// One plane of samples, or the only one of an interleaved format.
struct AudioBuffer {
    const std::byte* data = nullptr;
    std::size_t byteSize = 0;
};

/// What a capture hands out at a time: a view of memory that is valid during the call that brings it.
struct SampleBuffer {
    bool valid = false;
    std::optional<AudioFormat> formatDescription;
    std::uint64_t numSamples = 0;                                 ///< frames
    std::optional<std::span<const AudioBuffer>> audioBufferList;  ///< absent: cannot be had
};

/// What a capture delivers.
struct StreamConfiguration {
    bool capturesAudio = false;
    bool excludesCurrentProcessAudio = false;  ///< what this process plays, whatever the filter says
    int sampleRate = 48000;                    ///< Hz; 48000 is what there is
    int channelCount = 2;                      ///< 2 is what there is

    // The picture, which nothing delivers here.
    int width = 0;                                    ///< pixels
    int height = 0;                                   ///< pixels
    std::chrono::nanoseconds minimumFrameInterval{};  ///< 0: as often as it changes
    bool showsCursor = true;
};

enum class StreamOutputType : std::uint8_t {
    screen,  ///< accepted, and never delivered: there is no picture
    audio,
    microphone,  ///< accepted, and never delivered
};

class CaptureStream;

/// Receives what is captured.
class StreamOutput {
public:
    virtual ~StreamOutput() = default;
    /// Thread: the queue that the output was added with, one call at a time.
    virtual void stream(CaptureStream& stream, const SampleBuffer& sampleBuffer, StreamOutputType type) = 0;
};

/// Gets notice of a capture that ended by itself.
class StreamDelegate {
public:
    virtual ~StreamDelegate() = default;
    /// Thread: the capture's own. Once, and nothing is delivered afterwards.
    virtual void stream(CaptureStream& stream, const Error& didStopWithError) = 0;
};

/// A running capture of what programs play.
///
/// It goes on through whatever happens to the audio server: while that is away silence is delivered in real
/// time, and when it is back the capture resumes by itself. Programs are followed as they come and go.
/// Thread: any but the audio server's loop, for all functions.
class CaptureStream {
public:
    virtual ~CaptureStream() = default;

    /// The stream keeps `output` and `queue` until it has stopped. A queue serves one output of one stream.
    /// Fails once the capture has been started, and for a second output of a type.
    virtual Result<void> addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                         std::shared_ptr<SerialQueue> sampleHandlerQueue) = 0;

    /// Ends once the capture runs, within `AudioServer::answerLimit` and a little. Fails when there is no
    /// audio server, when it or the session manager does not answer, or when the capture was started before.
    virtual Task<Result<void>> startCapture() = 0;

    /// Nothing is delivered any more when `completionHandler` is called, on the capture's own thread. It gets
    /// an error where nothing was running.
    virtual void stopCapture(std::function<void(Result<void>)> completionHandler) = 0;
};

}  // namespace tarn
