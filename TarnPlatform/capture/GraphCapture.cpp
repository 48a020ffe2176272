#include "GraphCapture.h"

#include <utility>

#include "CaptureDelivery.h"
#include "CaptureFold.h"
#include "TarnPlatform/audioserver/AudioServerError.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {

namespace {

constexpr std::chrono::milliseconds watchEvery{50};
constexpr std::chrono::milliseconds retryEvery{500};
constexpr std::chrono::seconds giveUpAfter{10};

GraphStream::Description description() {
    GraphStream::Description stream;
    stream.capture = true;
    stream.name = "Tarn capture";
    stream.rate = CaptureDelivery::rate;
    stream.channels = CaptureFold::inputLayout();
    stream.properties = {{"node.name", "tarn-capture"},
                         {"media.class", "Stream/Input/Audio/Internal"},
                         {"node.autoconnect", "false"},
                         // Without it nothing is received while nothing plays.
                         {"node.always-process", "true"}};
    return stream;
}

}  // namespace

GraphCapture::GraphCapture(AudioServer& server, CaptureLinks::Choose chosen, Receiver& receiver)
    : server_(server), chosen_(std::move(chosen)), receiver_(receiver) {}

GraphCapture::~GraphCapture() {
    stop();
}

Result<void> GraphCapture::start() {
    if (auto following = server_.addObserver(*this); !following) {
        return following;
    }
    following_ = true;
    Result<void> started;
    {
        const AudioServer::Lock lock(server_);
        server_.waitUntil([this] { return failure_ || isReady(); });
        if (failure_ || !isReady()) {
            started = reasonForNotStarting();
        } else {
            timer_ = server_.startTimer(watchEvery, [this] { watch(); });
        }
    }
    if (!started) {
        stop();
    }
    return started;
}

void GraphCapture::stop() {
    if (!std::exchange(following_, false)) {
        return;
    }
    const AudioServer::Lock lock(server_);
    GraphStream::awaitSettled(server_, stream_);
    server_.removeObserver(*this);
    timer_.reset();
    links_.reset();
    stream_.reset();
    failure_.reset();
    lostFor_.reset();
}

bool GraphCapture::isReady() const {
    return stream_ != nullptr && stream_->isStreaming() && links_->hasPorts();
}

std::unexpected<Error> GraphCapture::reasonForNotStarting() const {
    if (failure_) {
        return std::unexpected(*failure_);
    }
    if (server_.core() == nullptr) {
        return audioServerAbsent();
    }
    if (stream_ == nullptr || !stream_->nodeId()) {
        return audioServerSilent();
    }
    return sessionManagerAbsent();
}

void GraphCapture::connected() {
    links_.reset();
    stream_.reset();
    dead_ = false;
    auto stream = GraphStream::make(server_, description(), *this);
    if (stream) {
        stream_ = std::move(*stream);
        links_ = std::make_unique<CaptureLinks>(server_, chosen_);
    } else if (server_.core() != nullptr) {
        lose(stream.error());
    }
}

void GraphCapture::disconnected() {
    links_.reset();
    stream_.reset();
    lostFor_.reset();
}

void GraphCapture::graphChanged(const Graph& graph) {
    if (stream_ == nullptr) {
        return;
    }
    if (stream_->isStale(graph)) {
        connected();
        return;
    }
    if (const auto own = stream_->nodeId()) {
        links_->update(graph, *own);
        gain_.store(links_->gain(graph), std::memory_order_relaxed);
    }
}

void GraphCapture::receiveRt(std::span<const float> interleaved, std::int64_t) noexcept {
    receiver_.receiveRt(interleaved, gain_.load(std::memory_order_relaxed));
}

void GraphCapture::streaming() {
    server_.wake();
}

void GraphCapture::ended(const std::string& error) {
    // With the connection broken it comes back by itself.
    if (server_.core() == nullptr) {
        return;
    }
    lose({.kind = ErrorKind::closed,
          .description = "the audio server ended the capture" + (error.empty() ? "" : ": " + error)});
    server_.wake();
}

// May be called by the stream itself, which therefore goes a little later.
void GraphCapture::lose(const Error& error) {
    failure_ = error;
    dead_ = true;
    if (timer_ != nullptr && !lostFor_) {
        lostFor_.emplace(0);
        logLine("[capture] the audio server let go of the stream; trying again");
    }
}

void GraphCapture::recover() {
    if (server_.core() == nullptr) {
        return;  // the connection broke; the next one gets a stream
    }
    if (!dead_ && isReady()) {
        lostFor_.reset();
        return;
    }
    *lostFor_ += watchEvery;
    if (*lostFor_ >= giveUpAfter) {
        lostFor_.reset();
        receiver_.ended(*failure_);
    } else if (dead_ && *lostFor_ % retryEvery == std::chrono::milliseconds(0)) {
        connected();
    }
}

void GraphCapture::watch() {
    receiver_.tick();
    if (stream_ != nullptr) {
        links_->watch(server_.graph(), stream_->isStreaming(), watchEvery);
    }
    if (lostFor_) {
        recover();
    }
}

}  // namespace tarn
