#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"

namespace tarn::bench {

inline std::int64_t nanoseconds() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// A stream of a connection of its own.
class GraphPeer {
public:
    GraphPeer() = default;
    ~GraphPeer() {
        const AudioServer::Lock lock(server_);
        stream_.reset();
    }
    GraphPeer(const GraphPeer&) = delete;
    GraphPeer& operator=(const GraphPeer&) = delete;

    void open(GraphStream::Description description, GraphStreamHandler& handler) {
        if (const auto graph = server_.snapshot(); !graph) {
            throw std::runtime_error(graph.error().description);
        }
        description.properties["node.name"] = description.name;
        const AudioServer::Lock lock(server_);
        auto made = GraphStream::make(server_, description, handler);
        if (!made) {
            throw std::runtime_error(made.error().description);
        }
        stream_ = std::move(*made);
    }

private:
    AudioServer server_;
    std::unique_ptr<GraphStream> stream_;
};

/// Hears a node's ports, in the cycle in which it plays.
class GraphEar final : public GraphStreamHandler {
public:
    static constexpr std::uint32_t rate = 48000;

    /// Requires: the node plays (is linked) already.
    explicit GraphEar(const std::string& node) {
        const std::string name = "tarn-bench-ear-" + node;
        peer_.open({.capture = true,
                    .name = name,
                    .properties = {{"node.always-process", "true"}},
                    .rate = rate,
                    .channels = {ChannelPosition::frontLeft, ChannelPosition::frontRight},
                    .channelNames = {}},
                   *this);
        const std::string link = "pw-link '" + node + ":output_FL' '" + name + ":input_FL' 2>/dev/null";
        for (int tries = 0; std::system(link.c_str()) != 0; ++tries) {
            if (tries == 100) {
                throw std::runtime_error("cannot listen to " + node);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    /// When a sound over a tenth of full scale arrived first since `listen`; 0: not yet.
    std::int64_t heardAt() const { return heardAt_; }
    void listen() { heardAt_ = 0; }

    double period() const { return period_; }           ///< seconds, of a cycle
    std::uint64_t skipped() const { return skipped_; }  ///< cycles that were not heard
    std::uint64_t breaks() const { return breaks_; }    ///< places where the 500 Hz tone is not one
    std::uint64_t frames() const { return frames_; }

    void receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept override {
        const double length = static_cast<double>(interleaved.size()) / 2 / rate;
        if (last_ != 0 && static_cast<double>(time - last_) * 1e-9 > 1.5 * length) {
            skipped_ += static_cast<std::uint64_t>(
                std::lround(static_cast<double>(time - last_) * 1e-9 / length) - 1);
        }
        last_ = time;
        period_ = length;
        for (std::size_t at = 0; at < interleaved.size(); at += 2) {
            const float sample = interleaved[at];
            if (std::abs(sample) > 0.1F && heardAt_ == 0) {
                heardAt_ = nanoseconds();
            }
            float& before = wave_[frames_ % wave_.size()];
            if (frames_ > rate && frames_ > quietUntil_ && std::abs(sample - before) > 0.05F) {
                ++breaks_;
                quietUntil_ = frames_ + 2 * wave_.size();
            }
            before = sample;
            ++frames_;
        }
    }

private:
    std::atomic<std::int64_t> heardAt_{-1};
    std::atomic<double> period_{0};
    std::atomic<std::uint64_t> skipped_{0};
    std::atomic<std::uint64_t> breaks_{0};
    std::atomic<std::uint64_t> frames_{0};
    std::int64_t last_ = 0;
    std::uint64_t quietUntil_ = 0;
    std::array<float, rate / 500> wave_{};
    GraphPeer peer_;  // last: it calls
};

}  // namespace tarn::bench
