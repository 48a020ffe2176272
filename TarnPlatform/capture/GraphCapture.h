#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <span>

#include "CaptureDelivery.h"
#include "CaptureLinks.h"
#include "CaptureStream.h"
#include "ContentFilter.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A capture of what programs play, taken from the audio server's graph: one stream of ours for each
/// connection, which no mixer shows and which asks for no cycle length of its own, and its links to the
/// programs that it hears.
///
/// Threads: starting and ending are carried out one after the other on a queue of its own ("tarn.capture"),
/// since the graph's answers are waited for there; the graph itself is followed on the server's loop; the
/// sound takes the way of CaptureDelivery.
class GraphCapture final : public CaptureStream,
                           public std::enable_shared_from_this<GraphCapture>,
                           private AudioServerObserver,
                           private GraphStreamHandler {
public:
    /// `server` must outlive this.
    GraphCapture(AudioServer& server, const ContentFilter& filter, const StreamConfiguration& configuration,
                 std::weak_ptr<StreamDelegate> delegate);
    /// Ends the capture.
    ~GraphCapture() override;
    GraphCapture(const GraphCapture&) = delete;
    GraphCapture& operator=(const GraphCapture&) = delete;

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

    // On the control queue.
    Result<void> start();
    Result<void> startInGraph();
    Result<void> stop();
    void endByItself(const Error& error);
    void end();
    void leaveGraph();

    // On the loop.
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;
    void streaming() override;
    void ended(const std::string& error) override;
    bool isReady() const;
    std::unexpected<Error> reasonForNotStarting() const;
    void lose(const Error& error);
    void recover();
    void watch();

    void receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept override;

    // Fixed at birth.
    AudioServer& server_;
    const CaptureLinks::Choose chosen_;
    const StreamConfiguration configuration_;
    const std::weak_ptr<StreamDelegate> delegate_;
    // The control queue's.
    State state_ = State::fresh;
    bool following_ = false;  // the graph
    std::map<StreamOutputType, Output> outputs_;
    // Fixed while the graph is followed; null where nobody listens.
    std::unique_ptr<CaptureDelivery> delivery_;
    // The loop's.
    std::unique_ptr<GraphStream> stream_;
    std::unique_ptr<CaptureLinks> links_;
    std::unique_ptr<AudioServer::Timer> timer_;
    std::optional<Error> failure_;
    std::optional<std::chrono::milliseconds> lostFor_;  // running, and without a stream that works
    bool dead_ = false;                                 // the stream ended

    std::atomic<float> gain_{1};  // as `CaptureLinks::gain`

    SerialQueue control_{"tarn.capture"};  // last: its thread uses all of the above
};

}  // namespace tarn
