#include "SharedMicrophones.h"

#include <atomic>
#include <future>
#include <mutex>
#include <optional>
#include <utility>

#include "MicSession.h"
#include "SoundFanOut.h"

namespace tarn {

/// One microphone's capture, by the engine of whoever came first; it ends with this.
class SharedMicrophones::Source {
public:
    explicit Source(std::shared_ptr<AudioEngine> engine) : engine_(std::move(engine)) {}
    ~Source() {
        engine_->inputNode().removeTap(0);
        engine_->stop();
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    Result<void> start(std::uint32_t bufferFrames, const AudioFormat& format) {
        engine_->inputNode().installTap(
            0, bufferFrames, format, [queue = queue_, fanOut = fanOut_](const PcmBuffer& buffer) {
                if (auto first = MicSession::extractChannel0(buffer)) {
                    queue->async(
                        [fanOut, taken = std::move(*first)]() mutable { fanOut->deliver(std::move(taken)); });
                }
            });
        return engine_->start();
    }

    SoundFanOut::Id join(AudioInputNode::TapBlock block) {
        return fanOut_->join({.take = std::move(block), .ended = {}});
    }
    /// On return the tap is not being called. Thread: any but a tap's.
    void leave(SoundFanOut::Id id) {
        std::promise<void> left;
        fanOut_->leave(id, [&left] { left.set_value(); });
        left.get_future().wait();
    }

private:
    const std::shared_ptr<AudioEngine> engine_;
    const std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("tarn.mic.recv");
    const std::shared_ptr<SoundFanOut> fanOut_ = std::make_shared<SoundFanOut>(queue_);
};

/// One session's. Its own engine plays, and captures where it came first.
class SharedMicrophones::Engine final : public AudioEngine, private AudioInputNode {
public:
    Engine(std::shared_ptr<SharedMicrophones> pool, std::shared_ptr<AudioEngine> own)
        : pool_(std::move(pool)), own_(std::move(own)) {}
    ~Engine() override { stop(); }

    void attach(std::shared_ptr<AudioNode> node) override { own_->attach(std::move(node)); }
    void connect(AudioNode& from, AudioNode& to, const AudioFormat& format) override {
        own_->connect(from, to, format);
    }
    AudioNode& mainMixerNode() override { return own_->mainMixerNode(); }
    AudioInputNode& inputNode() override { return *this; }
    void turnOthersDown(double decibels) override {
        const std::lock_guard lock(othersMutex_);
        own_->turnOthersDown(turnsNobodyDown_ ? 0 : decibels);
    }
    void setPlace(float place) override { own_->setPlace(place); }
    void prepare() override { own_->prepare(); }
    bool isRunning() const override { return running_; }

    Result<void> start() override {
        if (running_) {
            return {};
        }
        auto started = pool_->queue_.sync([this] { return block_ ? startHearing() : own_->start(); });
        running_ = started.has_value();
        return started;
    }
    void stop() override {
        running_ = false;
        pool_->queue_.sync([this] {
            leave();
            if (!captures_) {
                own_->stop();
            }
            source_.reset();  // which stops the first's engine, where this was the last
        });
    }

private:
    AudioFormat inputFormat(std::uint32_t bus) override { return input().inputFormat(bus); }
    Result<void> setVoiceProcessingEnabled(bool enabled) override {
        if (captures_) {
            return {};  // the source has the engine, and may go on
        }
        auto set = input().setVoiceProcessingEnabled(enabled);
        isProcessed_ = enabled && set;
        return set;
    }
    AudioUnit* audioUnit() override { return input().audioUnit(); }
    void installTap(std::uint32_t bus, std::uint32_t bufferFrames, const AudioFormat& format,
                    TapBlock block) override {
        if (bus == 0) {
            bufferFrames_ = bufferFrames;
            format_ = format;
            block_ = std::move(block);
        }
    }
    void removeTap(std::uint32_t bus) override {
        if (bus == 0) {
            leave();
            block_ = nullptr;
        }
    }
    AudioInputNode& input() { return own_->inputNode(); }

    // On the pool's queue.
    Result<void> startHearing() {
        auto& kept = pool_->sources_[{input().device(), isProcessed_}];
        source_ = kept.lock();
        Result<void> started;
        if (source_ != nullptr) {
            // What plays only needs no processor of its own, and does not know how the microphone is heard.
            static_cast<void>(input().setVoiceProcessingEnabled(false));
            leaveOthersAlone(!isProcessed_);
            id_ = source_->join(block_);
            started = own_->start();
        } else {
            source_ = std::make_shared<Source>(own_);
            id_ = source_->join(block_);
            started = source_->start(bufferFrames_, format_);
            captures_ = started.has_value();
            if (started) {
                kept = source_;
            }
        }
        if (!started) {
            leave();
            source_.reset();
        }
        return started;
    }
    void leaveOthersAlone(bool wanted) {
        const std::lock_guard lock(othersMutex_);
        turnsNobodyDown_ = wanted;
        if (wanted) {
            own_->turnOthersDown(0);
        }
    }
    void leave() {
        if (source_ != nullptr && id_) {
            source_->leave(*std::exchange(id_, std::nullopt));
        }
    }

    const std::shared_ptr<SharedMicrophones> pool_;
    const std::shared_ptr<AudioEngine> own_;
    bool isProcessed_ = false;
    std::mutex othersMutex_;
    bool turnsNobodyDown_ = false;
    std::uint32_t bufferFrames_ = 0;
    AudioFormat format_;
    TapBlock block_;
    std::atomic<bool> running_{false};
    bool captures_ = false;  // for the source, to which the engine belongs then for good
    std::shared_ptr<Source> source_;
    std::optional<SoundFanOut::Id> id_;
};

std::unique_ptr<AudioEngine> SharedMicrophones::makeEngine() {
    return std::make_unique<Engine>(shared_from_this(), make_());
}

}  // namespace tarn
