#include "SharedCaptures.h"

#include <atomic>
#include <utility>

#include "SoundFanOut.h"
#include "SystemAudioCapture.h"
#include "TarnPlatform/base/Gate.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// One capture of the audio server, with its sinks.
class SharedCaptures::Source final : public StreamOutput,
                                     public StreamDelegate,
                                     public std::enable_shared_from_this<Source> {
public:
    Source(const SerialExecutor& executor, std::weak_ptr<SharedCaptures> pool, std::string bundleID)
        : pool_(std::move(pool)), bundleID_(std::move(bundleID)), started_(executor) {}

    static Task<void> start(std::shared_ptr<Source> self, ContentFilter filter, CaptureService& service) {
        auto made = co_await startCapture(std::move(filter), self, self, self->queue_, service);
        if (made) {
            self->stream_ = std::move(*made);
        } else {
            self->failure_ = made.error();
            self->leavePool();
        }
        self->started_.open();
        if (self->sinks_ == 0) {
            self->stream_.reset();
        }
    }
    Task<void> started() const { return started_.passed(); }
    const std::optional<Error>& failure() const { return failure_; }

    /// Whether a sink that comes now would hear it.
    bool isOpen() const { return !isOver_ && !failure_; }

    SoundFanOut::Id join(std::weak_ptr<CaptureStream> stream, std::shared_ptr<AudioSink> sink) {
        ++sinks_;
        return fanOut_->join({.take = [sink](const PcmBuffer& buffer) { sink->take(buffer); },
                              .ended =
                                  [sink, stream = std::move(stream)](const Error& error) {
                                      if (const auto held = stream.lock()) {
                                          sink->stream(*held, error);
                                      }
                                  }});
    }

    void leave(SoundFanOut::Id id, std::function<void(Result<void>)> left) {
        if (const auto stream = withdraw()) {
            // The sink hears to the end; the stream keeps this until then.
            stream->stopCapture([fanOut = fanOut_, id, left = std::move(left)](const Result<void>& stopped) {
                fanOut->leave(id, [left, stopped] { left(stopped); });
            });
        } else {
            fanOut_->leave(id, [left = std::move(left)] { left({}); });
        }
    }
    /// Without waiting for what the sink has not taken yet. The capture, where it was the last, ends here.
    void leaveAtOnce(SoundFanOut::Id id) {
        withdraw();
        fanOut_->leave(id, [] {});
    }

    void stream(CaptureStream&, const SampleBuffer& sampleBuffer, StreamOutputType type) override {
        if (type == StreamOutputType::audio && sampleBuffer.valid) {
            if (auto buffer = AudioSink::pcmBuffer(sampleBuffer)) {
                fanOut_->deliver(std::move(*buffer));
            }
        }
    }
    void stream(CaptureStream&, const Error& didStopWithError) override {
        isOver_ = true;
        queue_->async([fanOut = fanOut_, error = didStopWithError] { fanOut->end(error); });
    }

private:
    /// One sink less; the stream where it was the last and the stream has come up.
    std::shared_ptr<CaptureStream> withdraw() {
        if (--sinks_ > 0) {
            return nullptr;
        }
        leavePool();
        return std::exchange(stream_, nullptr);
    }

    void leavePool() {
        if (const auto pool = pool_.lock()) {
            pool->forget(bundleID_, *this);
        }
    }

    const std::weak_ptr<SharedCaptures> pool_;
    const std::string bundleID_;
    const std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("tarn.audio.recv");
    const std::shared_ptr<SoundFanOut> fanOut_ = std::make_shared<SoundFanOut>(queue_);
    std::atomic<bool> isOver_{false};
    // The executor's.
    Gate started_;
    std::optional<Error> failure_;
    std::shared_ptr<CaptureStream> stream_;  // while it runs and somebody hears it
    std::size_t sinks_ = 0;
};

/// What one sink has of it.
class SharedCaptures::Share final : public CaptureStream, public std::enable_shared_from_this<Share> {
public:
    explicit Share(std::shared_ptr<Source> source) : source_(std::move(source)) {}
    ~Share() override {
        if (source_ != nullptr) {
            source_->leaveAtOnce(id_);
        }
    }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    void join(std::shared_ptr<AudioSink> sink) { id_ = source_->join(weak_from_this(), std::move(sink)); }

    Result<void> addStreamOutput(std::shared_ptr<StreamOutput>, StreamOutputType,
                                 std::shared_ptr<SerialQueue>) override {
        return failure(ErrorKind::invalidInput, "an output cannot be added once the capture has started");
    }
    Task<Result<void>> startCapture() override {
        co_return failure(ErrorKind::invalidInput, "the capture was started before");
    }
    void stopCapture(std::function<void(Result<void>)> completionHandler) override {
        if (!completionHandler) {
            completionHandler = [](const Result<void>&) {};
        }
        if (const auto source = std::exchange(source_, nullptr)) {
            source->leave(id_, std::move(completionHandler));
        } else {
            completionHandler(failure(ErrorKind::invalidInput, "the capture is not running"));
        }
    }

private:
    std::shared_ptr<Source> source_;  // until it has left
    SoundFanOut::Id id_ = 0;
};

Task<Result<std::shared_ptr<CaptureStream>>> SharedCaptures::start(std::shared_ptr<SharedCaptures> self,
                                                                   std::shared_ptr<AudioSink> into,
                                                                   std::optional<std::string> bundleID) {
    const std::string wanted = bundleID.value_or("");
    auto filter = co_await captureFilter(wanted, self->service_);
    if (!filter) {
        co_return std::unexpected(filter.error());
    }
    const auto source = self->sourceOf(wanted, *filter);
    const auto share = std::make_shared<Share>(source);
    share->join(std::move(into));
    co_await source->started();
    if (source->failure()) {
        co_return std::unexpected(*source->failure());
    }
    co_return share;
}

std::shared_ptr<SharedCaptures::Source> SharedCaptures::sourceOf(const std::string& bundleID,
                                                                 const ContentFilter& filter) {
    auto& source = sources_[bundleID];
    if (source == nullptr || !source->isOpen()) {
        source = std::make_shared<Source>(executor_, weak_from_this(), bundleID);
        TaskHandle::start(executor_, Source::start(source, filter, service_));
    }
    return source;
}

void SharedCaptures::forget(const std::string& bundleID, const Source& source) {
    const auto found = sources_.find(bundleID);
    if (found != sources_.end() && found->second.get() == &source) {
        sources_.erase(found);
    }
}

}  // namespace tarn
