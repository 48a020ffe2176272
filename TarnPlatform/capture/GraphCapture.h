#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <span>

#include "CaptureLinks.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A capture inside the graph: one stream of ours for each connection, which no mixer shows and which asks
/// for no cycle length of its own, and its links to the programs that it hears.
class GraphCapture : private AudioServerObserver, private GraphStreamHandler {
public:
    class Receiver {
    public:
        /// One cycle's sound, in CaptureFold's six channels, to be multiplied by `gain`. Thread: the graph's
        /// (RT).
        virtual void receiveRt(std::span<const float> surround, float gain) noexcept = 0;
        /// Every 50 ms while the capture runs, whatever the server does. Thread: the loop, held.
        virtual void tick() noexcept = 0;
        /// The stream was taken from the graph while the server went on, and could not be made again for
        /// 10 s. Once. Thread: the loop, held.
        virtual void ended(const Error& error) = 0;

    protected:
        ~Receiver() = default;
    };

    /// `receiver` must outlive this.
    GraphCapture(AudioServer& server, CaptureLinks::Choose chosen, Receiver& receiver);
    ~GraphCapture();
    GraphCapture(const GraphCapture&) = delete;
    GraphCapture& operator=(const GraphCapture&) = delete;

    /// Returns once sound is received. Blocks for `AudioServer::answerLimit` at most. Thread: any but the
    /// loop.
    Result<void> start();
    /// No call of the receiver is under way on return, nor comes later, and the server is not needed any
    /// more. Thread: any, while no other starts or stops.
    void stop();

private:
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;

    void receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept override;
    void streaming() override;
    void ended(const std::string& error) override;

    bool isReady() const;
    std::unexpected<Error> reasonForNotStarting() const;
    void lose(const Error& error);
    void recover();
    void watch();

    // Fixed at birth.
    AudioServer& server_;
    const CaptureLinks::Choose chosen_;
    Receiver& receiver_;
    bool following_ = false;  // of whoever starts and stops
    // The loop's.
    std::unique_ptr<GraphStream> stream_;
    std::unique_ptr<CaptureLinks> links_;
    std::unique_ptr<AudioServer::Timer> timer_;
    std::optional<Error> failure_;
    std::optional<std::chrono::milliseconds> lostFor_;  // running, and without a stream that works
    bool dead_ = false;                                 // the stream ended

    std::atomic<float> gain_{1};  // as `CaptureLinks::gain`
};

}  // namespace tarn
