#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "SampleBuffer.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

class CaptureStream;

enum class StreamOutputType : std::uint8_t {
    screen,  ///< accepted, and never delivered: there is no picture
    audio,
    microphone,  ///< accepted, and never delivered
};

/// Receives what is captured.
class StreamOutput {
public:
    virtual ~StreamOutput() = default;
    /// Thread: the queue that the output was added with, one call at a time.
    virtual void stream(CaptureStream& stream, const SampleBuffer& sampleBuffer, StreamOutputType type) = 0;
};

/// Is told of a capture that ended by itself.
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
