#include "MicrophoneStream.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds tickEvery{20};
constexpr int ticksBeforeRetry = 25;
// This is longer than the longest cycle of any graph, so that silence never comes between two blocks of
// sound.
constexpr std::int64_t patience = 250'000'000;

std::int64_t now() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

MicrophoneStream::MicrophoneStream(AudioServer& server, std::optional<std::string> chosen,
                                   MicrophoneFormat format, MicrophoneSink& sink)
    : server_(server), chosen_(std::move(chosen)), format_(std::move(format)), sink_(sink) {}

Result<void> MicrophoneStream::start(const std::string& group) {
    group_ = group;
    const AudioServer::Lock lock(server_);
    receivedAt_ = now();
    auto following = server_.addObserver(*this);
    if (following) {
        timer_ = server_.startTimer(tickEvery, [this] { tick(); });
    }
    return following;
}

void MicrophoneStream::stop() {
    const AudioServer::Lock lock(server_);
    GraphStream::awaitSettled(server_, stream_);
    server_.removeObserver(*this);
    timer_.reset();
    links_.drop();
    stream_.reset();
}

void MicrophoneStream::connected() {
    reconsider(server_.graph());
}

void MicrophoneStream::disconnected() {
    links_.drop();
    stream_.reset();
    ended_ = false;
    serial_.clear();
}

void MicrophoneStream::graphChanged(const Graph& graph) {
    reconsider(graph);
}

void MicrophoneStream::reconsider(const Graph& graph) {
    const GraphNode* microphone = microphoneIn(graph, chosen_);
    if (microphone == nullptr) {
        if (!serial_.empty()) {  // there was one on this connection
            stream_.reset();
            ended_ = false;
            serial_.clear();
            logLine("[mic] the microphone went away; capturing silence until it is back");
        }
        return;
    }
    const std::string& serial = property(microphone->properties, "object.serial");
    const bool isStale = stream_ != nullptr && stream_->isStale(graph);
    if (serial == serial_ && !isStale) {
        return;
    }
    links_.drop();
    stream_.reset();
    ended_ = false;
    const std::string& name = property(microphone->properties, "node.name");
    if (const std::string last = std::exchange(name_, name); !last.empty() && last != name) {
        const std::string& description = property(microphone->properties, "node.description");
        logLine("[mic] the default microphone is another one now; capturing " +
                (description.empty() ? name : description));
    }
    capture(*microphone);
}

void MicrophoneStream::capture(const GraphNode& microphone) {
    serial_ = property(microphone.properties, "object.serial");
    GraphStream::Description description;
    description.capture = true;
    description.name = "Tarn";
    // The stream is bound to this device: where it goes away the stream ends rather than listen to another
    // one.
    description.properties = {{"node.name", "tarn.mic"},
                              {"application.name", "Tarn"},
                              {"target.object", serial_},
                              {"node.dont-reconnect", "true"}};
    if (!group_.empty()) {
        description.properties["node.group"] = group_;
    }
    description.rate = format_.rate;
    description.channelNames = format_.channels;
    description.autoconnect = true;
    auto made = GraphStream::make(server_, description, *this);
    if (made) {
        stream_ = std::move(*made);
    } else {
        captureLater("[mic] no stream to capture with: " + made.error().description);
    }
}

void MicrophoneStream::streaming() {
    lost_ = false;
}

// The stream itself calls this, so it cannot be destroyed here: the next tick does that.
void MicrophoneStream::ended(const std::string&) {
    captureLater("[mic] the audio server let go of the stream; trying again");
}

void MicrophoneStream::captureLater(const std::string& why) {
    if (server_.core() == nullptr) {
        return;  // The connection broke, and the next one makes a stream by itself.
    }
    if (!std::exchange(lost_, true)) {
        logLine(why);
    }
    ended_ = true;
    pause_ = ticksBeforeRetry;
}

void MicrophoneStream::tick() {
    if (ended_ && stream_ != nullptr) {
        stream_.reset();
    }
    if (ended_ && --pause_ <= 0) {
        ended_ = false;
        // Where the device is still there, it was not the device that ended the stream.
        if (const GraphNode* microphone = microphoneIn(server_.graph(), chosen_);
            microphone != nullptr && server_.core() != nullptr) {
            capture(*microphone);
        }
    }
    links_.watch(ended_ ? nullptr : stream_.get(), microphoneIn(server_.graph(), chosen_), tickEvery);
    deliverSilence();
}

void MicrophoneStream::deliverSilence() {
    const std::int64_t time = now();
    const std::int64_t received = receivedAt_.load(std::memory_order_acquire);
    if (time - received < patience) {
        return;
    }
    // Silence continues where the sound or the last silence ended, by the clock and not by the tick, so that
    // no time is missing: a recogniser measures pauses by it.
    const std::int64_t from = std::max(received, silentSince_);
    const auto frames = static_cast<std::uint32_t>((time - from) * format_.rate / 1'000'000'000);
    sink_.silent(frames, from);
    silentSince_ = from + static_cast<std::int64_t>(frames) * 1'000'000'000 / format_.rate;
}

void MicrophoneStream::receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept {
    receivedAt_.store(now(), std::memory_order_release);
    sink_.capturedRt(interleaved, time);
}

}  // namespace tarn
