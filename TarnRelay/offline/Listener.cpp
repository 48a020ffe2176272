#include "Listener.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/json/object.hpp>
#include <utility>

#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/WebSocketMessage.h"

namespace tarn::relay {
namespace {

constexpr auto samplesPerSecond = static_cast<std::uint64_t>(qwenInputSampleRate);
constexpr std::size_t stepSamples = samplesPerSecond / 10;
constexpr std::uint64_t partialInterval =
    samplesPerSecond * 3 / 10;  // between translations of a partial text
constexpr double earlySeconds =
    1;  ///< that sound may come ahead of its time, as after a stall of the network
constexpr auto longestHold = std::chrono::seconds(1);       // then one message is read whatever waits
constexpr auto lookPause = std::chrono::milliseconds(100);  // for a recogniser that answers later
constexpr auto retryPause = std::chrono::milliseconds(50);  // for a recogniser that takes no more sound

std::string itemId(std::uint64_t utterance) {
    return "item_" + std::to_string(utterance);
}

std::size_t samplesIn(double seconds) {
    return static_cast<std::size_t>(seconds * qwenInputSampleRate);
}

}  // namespace

Listener::Listener(std::shared_ptr<RecogniserFactory> recognisers, std::string language, int silenceMs,
                   Limits limits, std::shared_ptr<StreamOutlet> outlet,
                   std::shared_ptr<Interpreter> interpreter, const asio::any_io_executor& workers)
    : recognisers_(std::move(recognisers)),
      language_(std::move(language)),
      silenceMs_(silenceMs),
      limits_(limits),
      outlet_(std::move(outlet)),
      interpreter_(std::move(interpreter)),
      strand_(workers) {}

void Listener::warmUp() {
    asio::post(strand_, [self = shared_from_this()] {
        if (!self->outlet_->isShut()) {
            static_cast<void>(self->makeRecogniser());
        }
    });
}

void Listener::hear(std::span<const std::int16_t> samples) {
    bool behind = false;
    bool dropped = false;
    {
        const std::lock_guard lock(mutex_);
        const auto limit = samplesIn(limits_.longestSeconds);
        const auto room = limit - std::min(limit, waitingSamples_);
        if (samples.size() > room) {
            samples = samples.first(room);
            dropped = !std::exchange(toldDropped_, true);
        }
        if (receivedSamples_ == 0) {
            begun_ = std::chrono::steady_clock::now();
        }
        receivedSamples_ += samples.size();
        waitingSamples_ += samples.size();
        while (!samples.empty()) {
            const auto step = samples.first(std::min(samples.size(), stepSamples));
            samples = samples.subspan(step.size());
            waiting_.emplace_back(step.begin(), step.end());
        }
        behind = isBehind() && !std::exchange(toldBehind_, true);
        scheduleWork();
    }
    if (behind) {
        outlet_->sendError("the server does not keep up: the translation is several seconds behind");
    }
    if (dropped) {
        outlet_->sendError("the server does not keep up: some of the speech is being left out");
    }
}

/// The lock is held.
bool Listener::isHeld() const {
    return waitingSamples_ > samplesIn(limits_.heldSeconds);
}

/// The lock is held. Of a client that plays a file as fast as it can, sound always waits.
bool Listener::isBehind() {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun_;
    return waitingSamples_ > samplesIn(limits_.behindSeconds) &&
           receivedSamples_ <= samplesIn(passed.count() + earlySeconds);
}

Task<void> Listener::readyForMore() {
    const auto self = shared_from_this();
    const auto executor = co_await asio::this_coro::executor;
    std::shared_ptr<asio::steady_timer> bell;
    {
        const std::lock_guard lock(mutex_);
        if (!isHeld()) {
            co_return;
        }
        bell = std::make_shared<asio::steady_timer>(executor, longestHold);
        bell_ = bell;
    }
    co_await bell->async_wait(asValue);
    const std::lock_guard lock(mutex_);
    bell_.reset();
}

void Listener::stop() {
    {
        const std::lock_guard lock(mutex_);
        waiting_.clear();
        waitingSamples_ = 0;
        bell_.reset();
    }
    asio::post(strand_, [self = shared_from_this()] { self->recogniser_.reset(); });
}

bool Listener::makeRecogniser() {
    if (recogniser_ || unusable_) {
        return !unusable_;
    }
    auto made = recognisers_->make(language_, silenceMs_);
    if (!made) {
        unusable_ = true;
        outlet_->sendError("speech cannot be recognised: " + made.error().description);
        outlet_->close(closeInternalError, "no recogniser");
        return false;
    }
    recogniser_ = std::move(*made);
    return true;
}

/// The lock is held. Never more than one `work` is on its way: a strand runs all that is ready on one thread,
/// while others wait for that thread.
void Listener::scheduleWork() {
    if (!working_ && !waiting_.empty()) {
        working_ = true;
        asio::post(strand_, [self = shared_from_this()] { self->work(); });
    }
}

void Listener::work() {
    const bool open = !outlet_->isShut();
    const bool full = open && recogniser_ && recogniser_->full();
    const auto samples = full ? std::vector<std::int16_t>() : nextStep();
    if (open && makeRecogniser()) {
        recognise(samples);
    }
    if (open && recogniser_ && recogniser_->full()) {
        workLater();
        return;
    }
    if (open && recogniser_ && recogniser_->answersLater()) {
        lookLater();
    }
    const std::lock_guard lock(mutex_);
    working_ = false;
    scheduleWork();
}

void Listener::workLater() {
    const auto timer = std::make_shared<asio::steady_timer>(strand_, retryPause);
    timer->async_wait([self = shared_from_this(), timer](const boost::system::error_code&) { self->work(); });
}

/// Sound may stop to come before the last answer does.
void Listener::lookLater() {
    if (std::exchange(looking_, true)) {
        return;
    }
    const auto timer = std::make_shared<asio::steady_timer>(strand_, lookPause);
    timer->async_wait([self = shared_from_this(), timer](const boost::system::error_code&) {
        self->looking_ = false;
        {
            const std::lock_guard lock(self->mutex_);
            if (std::exchange(self->working_, true)) {
                return;
            }
        }
        self->work();
    });
}

std::vector<std::int16_t> Listener::nextStep() {
    std::vector<std::int16_t> samples;
    std::shared_ptr<asio::steady_timer> bell;
    {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) {
            return samples;
        }
        samples = std::move(waiting_.front());
        waiting_.pop_front();
        waitingSamples_ -= samples.size();
        if (!isHeld()) {
            bell = std::exchange(bell_, nullptr);
        }
    }
    if (bell) {
        // On the reader's executor, where its wait has begun by the time this runs.
        asio::post(bell->get_executor(), [bell] { bell->cancel(); });
    }
    return samples;
}

void Listener::recognise(const std::vector<std::int16_t>& samples) {
    std::vector<Hypothesis> heard;
    const auto done = recogniser_->process(samples, heard);
    position_ += samples.size();
    for (auto& each : heard) {
        toldFailure_ = false;
        hypothesis(std::move(each));
    }
    if (!done && !std::exchange(toldFailure_, true)) {
        outlet_->sendError("speech could not be recognised: " + done.error().description);
    }
    if (recogniser_->inSpeech() && !inUtterance_) {
        beginUtterance();
    } else if (inUtterance_ && !recogniser_->inSpeech()) {
        endUtterance("");
    }
}

void Listener::hypothesis(Hypothesis heard) {
    if (!inUtterance_) {
        beginUtterance();
    }
    if (heard.final) {
        endUtterance(std::move(heard.text));
    } else if (!heard.text.empty()) {
        showPartial(heard.text);
    }
}

void Listener::beginUtterance() {
    inUtterance_ = true;
    shown_ = false;
    stable_.clear();
    translated_ = position_;
    ++utterance_;
    outlet_->send(events::speechStarted,
                  {{"item_id", itemId(utterance_)}, {"audio_start_ms", milliseconds()}});
}

void Listener::showPartial(const std::string& text) {
    shown_ = true;
    auto split = stable_.update(text);
    outlet_->send(events::sourceText, {{"item_id", itemId(utterance_)},
                                       {"content_index", 0},
                                       {"language", language_},
                                       {"text", std::move(split.text)},
                                       {"stash", std::move(split.stash)}});
    if (position_ - translated_ >= partialInterval) {
        translated_ = position_;
        interpreter_->hearPartial(utterance_, text);
    }
}

void Listener::endUtterance(std::string text) {
    inUtterance_ = false;
    const auto item = itemId(utterance_);
    outlet_->send(events::speechStopped, {{"item_id", item}, {"audio_end_ms", milliseconds()}});
    outlet_->send(events::bufferCommitted, {{"item_id", item}});
    // Noise without a word is no utterance; but a text that was shown and turns out to be none is taken back.
    if (text.empty() && !shown_) {
        return;
    }
    outlet_->send(events::itemCreated,
                  {{"item", {{"id", item}, {"type", "message"}, {"role", "user"}, {"status", "completed"}}}});
    outlet_->send(events::sourceCompleted,
                  {{"item_id", item}, {"content_index", 0}, {"language", language_}, {"transcript", text}});
    interpreter_->hearFinal(utterance_, std::move(text));
}

std::int64_t Listener::milliseconds() const {
    return static_cast<std::int64_t>(position_ * 1000 / samplesPerSecond);
}

}  // namespace tarn::relay
