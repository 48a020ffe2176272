#include "Listener.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/json/object.hpp>
#include <utility>

#include "ItemId.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Http.h"

namespace tarn::relay {
namespace {

constexpr auto samplesPerSecond = static_cast<std::uint64_t>(qwenInputSampleRate);
// One run of `work` takes so much sound. A recogniser needs about 20 ms for it, rarely 200 ms, and another
// client on the same thread waits no longer than that for its turn.
constexpr std::size_t stepSamples = samplesPerSecond / 10;
// Partial texts change several times a second and a translation takes a few milliseconds, but nobody reads as
// fast: they are translated no more often than this.
constexpr std::uint64_t partialInterval = samplesPerSecond * 3 / 10;
// Sound may come so much ahead of its time without counting as a file: a stall of the network delivers it
// late and all at once.
constexpr double earlySeconds = 1;
// A relay that keeps up hears a burst at least so much faster than it is spoken.
constexpr double usualPace = 1.25;
// After so long one message is read however much waits, so that a closing handshake is seen.
constexpr auto longestHold = std::chrono::seconds(1);
constexpr auto lookPause =
    std::chrono::milliseconds(100);  // between looks at a recogniser that answers later
constexpr auto retryPause = std::chrono::milliseconds(50);  // before a full recogniser is offered sound again

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
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double> passed = now - std::exchange(heardAt_, now);
        early_ = std::max(0.0, early_ - usualPace * passed.count()) +
                 static_cast<double>(samples.size()) / static_cast<double>(samplesIn(1));
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

/// The lock is held. Being behind is the relay's fault only where sound comes no faster than people speak: of
/// a client that plays a file as fast as it can, or sends what a slow network held back, sound waits.
bool Listener::isBehind() const {
    return waitingSamples_ > samplesIn(limits_.behindSeconds) && early_ <= earlySeconds;
}

Task<void> Listener::readyForMore() {
    const auto self = shared_from_this();
    const auto executor = co_await asio::this_coro::executor;
    std::shared_ptr<asio::steady_timer> room;
    {
        const std::lock_guard lock(mutex_);
        if (!isHeld()) {
            co_return;
        }
        room = std::make_shared<asio::steady_timer>(executor, longestHold);
        room_ = room;
    }
    co_await room->async_wait(asValue);
    const std::lock_guard lock(mutex_);
    room_.reset();
}

void Listener::stop() {
    {
        const std::lock_guard lock(mutex_);
        waiting_.clear();
        waitingSamples_ = 0;
        room_.reset();
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

/// The lock is held. Never more than one `work` is posted: a strand runs all its ready handlers in a row on
/// one thread, so that a client with much waiting sound would keep the others from that thread.
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

/// `working_` stays set, so that sound which comes meanwhile posts nothing.
void Listener::workLater() {
    const auto timer = std::make_shared<asio::steady_timer>(strand_, retryPause);
    timer->async_wait([self = shared_from_this(), timer](const boost::system::error_code&) { self->work(); });
}

/// The sound may end before the last answer comes. Without this look nobody would read that answer.
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
    std::shared_ptr<asio::steady_timer> room;
    {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) {
            return samples;
        }
        samples = std::move(waiting_.front());
        waiting_.pop_front();
        waitingSamples_ -= samples.size();
        if (!isHeld()) {
            room = std::exchange(room_, nullptr);
        }
    }
    if (room) {
        // The timer is cancelled on the reader's executor: by the time this runs there, its wait has begun. A
        // timer that is cancelled before that would not end the wait.
        asio::post(room->get_executor(), [room] { room->cancel(); });
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
        // A failure ended the utterance without a final text.
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
    // Noise without a word is not an utterance. A text that was shown, however, and turns out to be noise
    // must be taken back, which the empty transcript below does.
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
