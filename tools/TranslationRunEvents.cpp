// How a run reacts to its sessions, streams and signals.
#include <algorithm>
#include <filesystem>

#include "TranslationRun.h"

namespace tarn::cli {

void TranslationRun::watch(std::size_t number) {
    TranslateSession* const session = sources_[number].session.get();
    QObject::connect(session, &TranslateSession::stateChanged, session, [weak = weak_from_this(), number] {
        if (const auto self = weak.lock()) {
            self->stateChanged(number);
        }
    });
    QObject::connect(session, &TranslateSession::healthChanged, session, [weak = weak_from_this(), number] {
        if (const auto self = weak.lock()) {
            self->healthChanged(number);
        }
    });
    QObject::connect(session, &TranslateSession::inputLevelChanged, session,
                     [weak = weak_from_this(), number, session] {
                         if (const auto self = weak.lock()) {
                             self->printer_->level(number, session->inputLevel());
                         }
                     });
}

void TranslationRun::stateChanged(std::size_t number) {
    const ConnectionState& state = sources_[number].session->state();
    // The end of a run is shown when its cause is known, and a complaint of the relay ends no run.
    if (state.kind() != ConnectionState::Case::idle && state.kind() != ConnectionState::Case::error) {
        showState(number, std::string(ConnectionState::nameOf(state.kind())));
    }
    if (const auto stream =
            std::dynamic_pointer_cast<TappedStream>(sources_[number].session->serverStream())) {
        sourceOf(*stream);
    }
    sources_[number].ran = sources_[number].ran || sources_[number].session->hasComeUp();
    ring();
}

void TranslationRun::healthChanged(std::size_t number) {
    const TranslateSession& session = *sources_[number].session;
    printer_->health(number, session.health());
    capturesEnded_ = capturesEnded_ || std::ranges::all_of(sources_, [](const Source& source) {
                         return source.session->health().contains(SessionFault::captureEnded);
                     });
    ring();
}

void TranslationRun::showState(std::size_t number, const std::string& value) {
    if (sources_[number].shownState != value) {
        sources_[number].shownState = value;
        printer_->state(number, value);
    }
}

void TranslationRun::listenFor(Task<void> task) {
    listeners_.push_back(TaskHandle::start(context_.get_executor(), std::move(task)));
}

void TranslationRun::endInput(const std::optional<Error>& error) {
    if (error) {
        fail(error->description);
        inputFailed_ = true;
    }
    inputEnded_ = true;
    ring();
}

Task<void> TranslationRun::watchTime(std::shared_ptr<TranslationRun> self, Clock::Duration duration) {
    co_await sleepFor(Clock::system(), duration);
    self->timeIsUp_ = true;
    self->ring();
}

Task<void> TranslationRun::watchInterrupts(std::shared_ptr<TranslationRun> self) {
    const auto [error, number] = co_await self->interrupts_.async_wait(asValue);
    if (!error) {
        self->interrupts_.clear();  // a second one ends the program at once
    }
    self->interrupted_ = self->interrupted_ || !error;
    self->ring();
}

Task<void> TranslationRun::watchStream(std::shared_ptr<TranslationRun> self,
                                       std::shared_ptr<TappedStream> stream) {
    self->deathReason_ = co_await stream->waitDead();
    self->ring();
}

Task<void> TranslationRun::watchHeard(std::shared_ptr<TranslationRun> self,
                                      std::shared_ptr<TappedStream> stream) {
    const bool isHeard = co_await stream->waitHeard();
    if (auto* const open = isHeard ? self->openStream(*stream) : nullptr) {
        open->heardAt = Clock::system()->now();
    }
}

std::optional<Clock::TimePoint> TranslationRun::heardAt() const {
    std::optional<Clock::TimePoint> last;
    for (const OpenStream& open : streams_) {
        if (!open.heardAt) {
            return std::nullopt;
        }
        last = std::max(last, open.heardAt);
    }
    return last;
}

Task<void> TranslationRun::watchSaving(std::shared_ptr<TranslationRun> self) {
    while (const auto trouble = co_await self->saver_.troubles().next()) {
        complain(*trouble);
    }
}

Task<void> TranslationRun::watchOutput(std::shared_ptr<TranslationRun> self) {
    co_await self->output_.waitForFailure();
    self->ring();
}

void TranslationRun::opened(std::shared_ptr<TappedStream> stream) {
    // The files are made this late so that older ones stay where nothing replaces them.
    for (const auto& made : {dub_.open(), saver_.open()}) {
        if (!made && !fileFailed_) {
            fail(made.error().description);
            fileFailed_ = true;
        }
    }
    streams_.push_back({stream, std::nullopt, false});
    listenFor(watchStream(shared_from_this(), std::move(stream)));
}

void TranslationRun::ended(const TappedStream& stream) {
    if (auto* const open = openStream(stream)) {
        open->ended = true;
    }
    ring();
}

TranslationRun::OpenStream* TranslationRun::openStream(const TappedStream& stream) {
    const auto found = std::ranges::find_if(
        streams_, [&](const OpenStream& candidate) { return candidate.stream.get() == &stream; });
    return found == streams_.end() ? nullptr : &*found;
}

std::optional<std::size_t> TranslationRun::sourceOf(const TappedStream& stream) {
    auto* const open = openStream(stream);
    if (open == nullptr) {
        return std::nullopt;
    }
    // A session releases its stream when it stops, before the last event, so the owner is remembered.
    for (std::size_t number = 0; number < sources_.size() && !open->source; ++number) {
        if (sources_[number].session->serverStream().get() == &stream) {
            open->source = number;
        }
    }
    return open->source;
}

void TranslationRun::failedToOpen(const TarnServerError& error) {
    openError_ = error;
}

void TranslationRun::event(const TappedStream& stream, const TarnTranslateEvent& event) {
    const auto number = sourceOf(stream);
    if (!number) {
        return;
    }
    Source& source = sources_[*number];
    source.progress.note(event, std::chrono::steady_clock::now());
    printer_->event(*number, event);
    source.complainedLast = std::holds_alternative<translate::Error>(event) ||
                            (source.complainedLast && std::holds_alternative<translate::Closed>(event));
    if (const auto* const audio = std::get_if<translate::TranslatedAudio>(&event)) {
        keepAudio(stream, *audio);
    } else if (const auto* const error = std::get_if<translate::Error>(&event)) {
        source.complaint = error->message;
    } else if (std::holds_alternative<translate::Unauthorized>(event)) {
        refused_ = true;
        ring();
    }
}

void TranslationRun::save(Utterance utterance) {
    if (const std::string& input = options_.sources.front().input; !input.empty()) {
        utterance.sourceName =
            input == "-" ? "standard input" : std::filesystem::path(input).filename().string();
    }
    saver_.add(utterance);
}

void TranslationRun::keepAudio(const TappedStream& stream, const translate::TranslatedAudio& audio) {
    if (const auto written = dub_.write(audio.bytes, stream.givenSeconds()); !written) {
        fail(written.error().description);
        if (dub_.hasNoEnd()) {
            fileFailed_ = true;
            ring();
        }
    }
}

void TranslationRun::fail(const std::string& text, ExitStatus status) {
    complain(text);
    status_ = status;
}

}  // namespace tarn::cli
