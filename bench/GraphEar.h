#pragma once

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

    double period() const { return period_; }  ///< seconds, of a cycle

    void receiveRt(std::span<const float> interleaved, std::int64_t) noexcept override {
        period_ = static_cast<double>(interleaved.size()) / 2 / rate;
        for (std::size_t at = 0; at < interleaved.size(); at += 2) {
            if (std::abs(interleaved[at]) > 0.1F && heardAt_ == 0) {
                heardAt_ = nanoseconds();
            }
        }
    }

private:
    std::atomic<std::int64_t> heardAt_{-1};
    std::atomic<double> period_{0};
    GraphPeer peer_;  // last: it calls
};

}  // namespace tarn::bench
