#include "GraphCaptureStream.h"

#include <string>
#include <utility>

#include "TarnPlatform/base/EventQueue.h"

namespace tarn {

namespace {

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

GraphCaptureStream::GraphCaptureStream(AudioServer& server, const ContentFilter& filter,
                                       const StreamConfiguration& configuration,
                                       std::weak_ptr<StreamDelegate> delegate)
    : configuration_(configuration),
      delegate_(std::move(delegate)),
      capture_(server, chooser(filter, configuration), *this) {}

// Here and not on the control queue, which would wait for the receiver's where that one let go of us last.
GraphCaptureStream::~GraphCaptureStream() {
    end();
}

Result<void> GraphCaptureStream::addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
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

Task<Result<void>> GraphCaptureStream::startCapture() {
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

void GraphCaptureStream::stopCapture(std::function<void(Result<void>)> completionHandler) {
    control_.async([held = shared_from_this(), completionHandler = std::move(completionHandler)]() mutable {
        auto stopped = held->stop();
        held.reset();
        if (completionHandler) {
            completionHandler(std::move(stopped));
        }
    });
}

Result<void> GraphCaptureStream::start() {
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
    if (auto started = capture_.start(); !started) {
        delivery_.reset();
        return started;
    }
    state_ = State::running;
    return {};
}

Result<void> GraphCaptureStream::stop() {
    if (state_ != State::running) {
        return failure(ErrorKind::invalidInput, "the capture is not running");
    }
    end();
    return {};
}

void GraphCaptureStream::endedByItself(const Error& error) {
    if (state_ != State::running) {
        return;
    }
    end();
    if (const auto delegate = delegate_.lock()) {
        delegate->stream(*this, error);
    }
}

void GraphCaptureStream::end() {
    state_ = State::ended;
    capture_.stop();
    delivery_.reset();
    outputs_.clear();
}

void GraphCaptureStream::receiveRt(std::span<const float> surround, float gain) noexcept {
    if (delivery_ != nullptr) {
        delivery_->pushRt(surround, gain);
    }
}

void GraphCaptureStream::tick() noexcept {
    if (delivery_ != nullptr) {
        delivery_->tick();
    }
}

void GraphCaptureStream::ended(const Error& error) {
    control_.async([weak = weak_from_this(), error] {
        if (const auto self = weak.lock()) {
            self->endedByItself(error);
        }
    });
}

}  // namespace tarn
