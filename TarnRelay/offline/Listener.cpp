#include "Listener.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/json/object.hpp>
#include <utility>

#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/EventNames.h"

namespace tarn::relay {
namespace {

constexpr auto samplesPerSecond = static_cast<std::uint64_t>(qwenInputSampleRate);
constexpr std::size_t stepSamples = samplesPerSecond / 10;
constexpr std::uint64_t partialInterval =
    samplesPerSecond * 3 / 10;  // between translations of a partial text
constexpr std::uint16_t closeInternalError = 1011;

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
    std::size_t steps = 0;
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
        waitingSamples_ += samples.size();
        for (; !samples.empty(); ++steps) {
            const auto step = samples.first(std::min(samples.size(), stepSamples));
            samples = samples.subspan(step.size());
            waiting_.emplace_back(step.begin(), step.end());
        }
        if (waitingSamples_ > samplesIn(limits_.behindSeconds)) {
            behind = !std::exchange(toldBehind_, true);
        }
    }
    if (behind) {
        outlet_->sendError("the server does not keep up: the translation is several seconds behind");
    }
    if (dropped) {
        outlet_->sendError("the server does not keep up: some of the speech is being left out");
    }
    for (; steps > 0; --steps) {
        asio::post(strand_, [self = shared_from_this()] { self->work(); });
    }
}

void Listener::stop() {
    {
        const std::lock_guard lock(mutex_);
        waiting_.clear();
        waitingSamples_ = 0;
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

void Listener::work() {
    std::vector<std::int16_t> samples;
    {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) {
            return;
        }
        samples = std::move(waiting_.front());
        waiting_.pop_front();
        waitingSamples_ -= samples.size();
    }
    if (!outlet_->isShut() && makeRecogniser()) {
        recognise(samples);
    }
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
