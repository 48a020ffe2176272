#include "PlaybackStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "TarnPlatform/audioserver/AudioServerError.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds retryEvery{500};
constexpr std::chrono::milliseconds watchEvery{250};
constexpr float whisper = 0.001F;  // -60 dB

}  // namespace

PlaybackStream::PlaybackStream(AudioServer& server, AudioNode& end, std::uint32_t rate,
                               std::shared_ptr<EchoReference> reference)
    : server_(server), end_(end), rate_(rate), reference_(std::move(reference)) {}

Result<void> PlaybackStream::start(const std::string& group) {
    group_ = group;
    Result<void> started = server_.addObserver(*this);
    if (started) {
        const AudioServer::Lock lock(server_);
        const bool done = server_.waitUntil([this] { return !made_ || lost_ || isTaken(); });
        if (!made_) {
            started = made_;
        } else if (!done || lost_) {
            started = reasonForNotStarting();
        } else {
            watch_ = server_.startTimer(watchEvery, [this] { watch(); });
        }
    }
    if (!started) {
        stop();
    }
    return started;
}

std::unexpected<Error> PlaybackStream::reasonForNotStarting() const {
    if (server_.core() == nullptr) {
        return audioServerAbsent();
    }
    if (stream_ != nullptr && !stream_->nodeId()) {
        return audioServerSilent();
    }
    return failure(
        ErrorKind::unavailable,
        "the audio session manager (WirePlumber) gives the sound no output: restart it with PipeWire");
}

void PlaybackStream::stop() {
    const AudioServer::Lock lock(server_);
    GraphStream::awaitSettled(server_, stream_);
    server_.removeObserver(*this);
    watch_.reset();
    retry_.reset();
    links_.drop();
    stream_.reset();
}

void PlaybackStream::connected() {
    makeStream();
}

void PlaybackStream::disconnected() {
    retry_.reset();
    links_.drop();
    stream_.reset();
}

void PlaybackStream::streaming() {
    lost_ = false;
    server_.wake();
}

void PlaybackStream::graphChanged(const Graph& graph) {
    if (stream_ != nullptr && stream_->isStale(graph)) {
        links_.drop();
        stream_.reset();
        makeStream();
    }
}

void PlaybackStream::makeStream() {
    GraphStream::Description description;
    description.name = "Tarn";
    // No role: the desktop remembers one volume for all programs of a role.
    description.properties = {{"node.name", "tarn.dub"}, {"application.name", "Tarn"}};
    if (!group_.empty()) {
        description.properties["node.group"] = group_;
    }
    description.rate = rate_;
    description.channelNames = {"MONO"};
    description.autoconnect = true;
    auto made = GraphStream::make(server_, description, *this);
    if (!made) {
        made_ = std::unexpected(made.error());
        makeStreamLater("[dub] no stream to play on: " + made.error().description);
        return;
    }
    made_ = {};
    stream_ = std::move(*made);
}

void PlaybackStream::watch() {
    links_.watch(stream_.get(), server_.graph().defaultOutput(), watchEvery);
}

// Also where nothing plays yet: the session manager gives a stream its ports before it links them.
bool PlaybackStream::isTaken() const {
    if (stream_ == nullptr) {
        return false;
    }
    const auto node = stream_->nodeId();
    return node && (stream_->isStreaming() ||
                    std::ranges::any_of(server_.graph().ports,
                                        [&](const auto& port) { return port.second.node == *node; }));
}

// Called by the stream itself, which therefore goes a little later.
void PlaybackStream::ended(const std::string&) {
    makeStreamLater("[dub] the audio server let go of the stream; trying again");
}

void PlaybackStream::makeStreamLater(const std::string& why) {
    if (server_.core() == nullptr) {
        return;  // the connection broke; the next one gets a stream
    }
    if (!std::exchange(lost_, true)) {
        logLine(why);
    }
    if (retry_ == nullptr) {
        retry_ = server_.startTimer(retryEvery, [this] {
            stream_.reset();
            makeStream();
            if (stream_ != nullptr) {
                retry_.reset();
            }
        });
    }
    server_.wake();
}

void PlaybackStream::renderRt(std::span<float> samples, std::int64_t time) noexcept {
    for (std::size_t done = 0; done < samples.size();) {
        const auto piece = samples.subspan(done, std::min<std::size_t>(samples.size() - done, mostFrames));
        end_.renderRt(piece);
        done += piece.size();
    }
    if (reference_ != nullptr) {
        reference_->playedRt(samples, time);
    }
    if (std::ranges::any_of(samples, [](float sample) { return std::abs(sample) > whisper; })) {
        heardAt_.store(time, std::memory_order_relaxed);
    }
}

}  // namespace tarn
