#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "AudioServer.h"
#include "TarnPlatform/audio/AudioFormat.h"

struct pw_stream;

namespace tarn {

/// Receives what happens to a `GraphStream`.
class GraphStreamHandler {
public:
    /// One cycle's sound: Float32, the channels of a frame side by side. `time`: when the graph's cycle
    /// began, CLOCK_MONOTONIC ns, the same for all streams of one cycle under one driver. Thread: the
    /// server's real-time one: no allocation, lock, log or waiting in here.
    virtual void receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept;
    /// Fills all of it. Otherwise as above.
    virtual void renderRt(std::span<float> interleaved, std::int64_t time) noexcept;

    /// Thread: the loop, held.
    virtual void streaming() {}
    /// The server or the session manager let go of the stream for good, or the connection broke.
    virtual void ended(const std::string& error);

protected:
    ~GraphStreamHandler() = default;
};

/// One stream of ours in the audio server's graph, for one connection: it ends with the connection, and its
/// owner makes another when the next one stands.
class GraphStream {
public:
    struct Description {
        bool capture = false;    ///< receives, else renders
        std::string name;        ///< for people: what mixers show
        Properties properties;   ///< added to ours, which mark it as this process's
        std::uint32_t rate = 0;  ///< Hz
        ChannelLayout channels;
        bool autoconnect = false;  ///< the session manager links it
        /// In the server's names ("FL", "AUX0"), which are more than our positions; takes `channels`' place.
        std::vector<std::string> channelNames;

        std::size_t channelCount() const {
            return channelNames.empty() ? channels.size() : channelNames.size();
        }
    };

    /// Fails when there is no connection or the server refuses. `handler` must outlive the stream; its
    /// real-time function may be called before this returns. Requires: a Lock.
    static Result<std::unique_ptr<GraphStream>> make(AudioServer& server, const Description& description,
                                                     GraphStreamHandler& handler);
    /// No call of the handler is under way on return, nor comes later. Requires: a Lock.
    ~GraphStream();

    /// Waits until `stream`, where there is one, is `settlingTime` old: libpipewire 0.3.65 never closes the
    /// descriptors that reach it for a stream that has gone meanwhile, and they come while a stream is set
    /// up. Requires: a Lock held once, which is given free meanwhile, so that `stream` may go. Thread: any
    /// but the loop.
    static void awaitSettled(AudioServer& server, const std::unique_ptr<GraphStream>& stream);
    static constexpr std::chrono::milliseconds settlingTime{150};

    GraphStream(const GraphStream&) = delete;
    GraphStream& operator=(const GraphStream&) = delete;

    /// Nothing until the server has taken it. Requires: a Lock.
    std::optional<GraphId> nodeId() const;
    bool isStreaming() const { return streaming_; }  ///< Requires: a Lock.
    bool isCapture() const { return capture_; }
    /// Whether its owner should make another in its place: WirePlumber 0.4.13 never takes up what was there
    /// and linked before it, and gives no program's new sound ports as long as such a node is left. Only
    /// where no other program's is left, since nothing would be gained, and what has ports goes on without
    /// it.
    bool isStale(const Graph& graph) const;

private:
    struct Events;

    GraphStream(const AudioServer& server, const Description& description, GraphStreamHandler& handler);

    void processRt() noexcept;

    // Fixed at birth.
    GraphStreamHandler& handler_;
    const bool capture_;
    const std::chrono::steady_clock::time_point made_ = std::chrono::steady_clock::now();
    const std::size_t frameBytes_;
    const std::uint32_t managerReturns_;
    pw_stream* stream_ = nullptr;
    std::unique_ptr<Events> events_;
    // The loop's.
    bool streaming_ = false;
    // What the real-time thread did last comes before whatever follows the stream's end.
    std::atomic<std::uint64_t> cycles_{0};
};

}  // namespace tarn
