#pragma once

#include <map>
#include <memory>

#include "CaptureDelivery.h"
#include "CaptureStream.h"
#include "ContentFilter.h"
#include "GraphCapture.h"
#include "StreamConfiguration.h"

namespace tarn {

/// A capture of what programs play, taken from the audio server's graph.
///
/// Threads: starting and ending are carried out one after the other on a queue of its own ("tarn.capture"),
/// since the graph's answers are waited for there; the sound takes the way of CaptureDelivery.
class GraphCaptureStream final : public CaptureStream,
                                 public std::enable_shared_from_this<GraphCaptureStream>,
                                 private GraphCapture::Receiver {
public:
    /// `server` must outlive this.
    GraphCaptureStream(AudioServer& server, const ContentFilter& filter,
                       const StreamConfiguration& configuration, std::weak_ptr<StreamDelegate> delegate);
    /// Ends the capture.
    ~GraphCaptureStream() override;
    GraphCaptureStream(const GraphCaptureStream&) = delete;
    GraphCaptureStream& operator=(const GraphCaptureStream&) = delete;

    Result<void> addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                 std::shared_ptr<SerialQueue> sampleHandlerQueue) override;
    Task<Result<void>> startCapture() override;
    void stopCapture(std::function<void(Result<void>)> completionHandler) override;

private:
    struct Output {
        std::shared_ptr<StreamOutput> output;
        std::shared_ptr<SerialQueue> queue;
    };
    enum class State { fresh, running, ended };

    void receiveRt(std::span<const float> surround, float gain) noexcept override;
    void tick() noexcept override;
    void ended(const Error& error) override;

    // On the control queue.
    Result<void> start();
    Result<void> stop();
    void endedByItself(const Error& error);
    void end();

    // Fixed at birth.
    const StreamConfiguration configuration_;
    const std::weak_ptr<StreamDelegate> delegate_;
    // The control queue's.
    State state_ = State::fresh;
    std::map<StreamOutputType, Output> outputs_;
    // Fixed while the graph's capture runs.
    std::unique_ptr<CaptureDelivery> delivery_;
    GraphCapture capture_;
    SerialQueue control_{"tarn.capture"};
};

}  // namespace tarn
