#include "GraphCapture.h"

#include <string>
#include <utility>

#include "CaptureFold.h"
#include "TarnPlatform/audioserver/AudioServerError.h"
#include "TarnPlatform/base/EventQueue.h"
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

/// Whether all is known of a node that tells whose it is.
bool isDescribed(const Graph& graph, const GraphNode& node) {
    const GraphClient* client = graph.clientOf(node);
    return node.described && (client == nullptr || client->described);
}

CaptureLinks::Choose chooser(const ContentFilter& filter, const StreamConfiguration& configuration) {
    return [filter, withoutOwn = configuration.excludesCurrentProcessAudio](const Graph& graph,
                                                                            const GraphNode& node) {
        // What repeats an output would be heard twice, and would bring our own sound back.
        return node.isOutputStream() && isDescribed(graph, node) && !repeatsAnOutput(graph, node) &&
               !(withoutOwn && AudioServer::isOwn(graph, node)) && filter.accepts(applicationOf(graph, node));
    };
}

}  // namespace

GraphCapture::GraphCapture(AudioServer& server, const ContentFilter& filter,
                           const StreamConfiguration& configuration, std::weak_ptr<StreamDelegate> delegate)
    : server_(server),
      chosen_(chooser(filter, configuration)),
      configuration_(configuration),
      delegate_(std::move(delegate)) {}

// It ends here and not on the control queue, which would wait for the receiver's queue where that one let go
// of us last.
GraphCapture::~GraphCapture() {
    end();
}

Result<void> GraphCapture::addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                           std::shared_ptr<SerialQueue> sampleHandlerQueue) {
    return control_.sync([&]() -> Result<void> {
        if (output == nullptr || sampleHandlerQueue == nullptr) {
            return failure(ErrorKind::invalidInput, "an output of a capture needs a receiver and a queue");
        }
        if (state_ != State::fresh) {
            return failure(ErrorKind::invalidInput, "an output cannot be added once the capture has started");
        }
        if (!outputs_.try_emplace(type, std::move(output), std::move(sampleHandlerQueue)).second) {
            return failure(ErrorKind::invalidInput, "the capture has an output of this type already");
        }
        return {};
    });
}

Task<Result<void>> GraphCapture::startCapture() {
    const auto self = shared_from_this();
    const EventQueue<Result<void>> outcome;
    // Whoever waits for the outcome may end the server next, so nothing of us is held on when it is told.
    control_.async([held = self, outcome]() mutable {
        auto started = held->start();
        held.reset();
        outcome.push(std::move(started));
    });
    auto started = co_await outcome.next();
    co_return std::move(*started);
}

void GraphCapture::stopCapture(std::function<void(Result<void>)> completionHandler) {
    control_.async([held = shared_from_this(), completionHandler = std::move(completionHandler)]() mutable {
        auto stopped = held->stop();
        held.reset();
        if (completionHandler) {
            completionHandler(std::move(stopped));
        }
    });
}

Result<void> GraphCapture::start() {
    if (state_ != State::fresh) {
        return failure(ErrorKind::invalidInput, "the capture was started before");
    }
    if (configuration_.sampleRate != static_cast<int>(CaptureDelivery::rate) ||
        configuration_.channelCount != 2) {
        return failure(ErrorKind::invalidInput,
                       "a capture delivers two channels at 48000 Hz and nothing else");
    }
    const auto audio = outputs_.find(StreamOutputType::audio);
    if (configuration_.capturesAudio && audio != outputs_.end()) {
        delivery_ = std::make_unique<CaptureDelivery>(
            audio->second.queue, [this, output = audio->second.output](const SampleBuffer& buffer) {
                output->stream(*this, buffer, StreamOutputType::audio);
            });
    }
    if (auto started = startInGraph(); !started) {
        delivery_.reset();
        return started;
    }
    state_ = State::running;
    return {};
}

Result<void> GraphCapture::stop() {
    if (state_ != State::running) {
        return failure(ErrorKind::invalidInput, "the capture is not running");
    }
    end();
    return {};
}

void GraphCapture::endByItself(const Error& error) {
    if (state_ != State::running) {
        return;
    }
    end();
    if (const auto delegate = delegate_.lock()) {
        delegate->stream(*this, error);
    }
}

void GraphCapture::end() {
    state_ = State::ended;
    leaveGraph();
    delivery_.reset();
    outputs_.clear();
}

Result<void> GraphCapture::startInGraph() {
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
        leaveGraph();
    }
    return started;
}

void GraphCapture::leaveGraph() {
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
    if (delivery_ != nullptr) {
        delivery_->pushRt(interleaved, gain_.load(std::memory_order_relaxed));
    }
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
        control_.async([weak = weak_from_this(), error = *failure_] {
            if (const auto self = weak.lock()) {
                self->endByItself(error);
            }
        });
    } else if (dead_ && *lostFor_ % retryEvery == std::chrono::milliseconds(0)) {
        connected();
    }
}

void GraphCapture::watch() {
    if (delivery_ != nullptr) {
        delivery_->tick();
    }
    if (stream_ != nullptr) {
        links_->watch(server_.graph(), stream_->isStreaming(), watchEvery);
    }
    if (lostFor_) {
        recover();
    }
}

}  // namespace tarn
