#include "UtterancePairs.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn {
namespace {

using std::chrono::milliseconds;

/// Speech that is sent once more begins and ends in the same place, but for this.
constexpr milliseconds samePlace{700};
/// A service's place may be a piece of sound ahead of what is known to be sent.
constexpr milliseconds aheadAtMost{100};
constexpr milliseconds longestStream = std::chrono::hours(24 * 30);
constexpr std::size_t mostOpen = 64;

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

milliseconds millisecondsOf(double seconds) {
    const double most = std::chrono::duration<double>(longestStream).count();
    return milliseconds(std::llround(std::clamp(seconds, 0.0, most) * 1000));
}

}  // namespace

UtterancePairs::Finished UtterancePairs::take(const TarnTranslateEvent& event, Now now) {
    if (const auto* const progress = std::get_if<translate::Progress>(&event)) {
        takeProgress(*progress, now);
    } else if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        takeSource(*source, now);
    } else if (const auto* const text = std::get_if<translate::TranslatedText>(&event)) {
        if (text->done) {
            takeTranslation(text->text, now);
        }
    } else if (const auto* const gap = std::get_if<translate::Gap>(&event)) {
        takeGap(*gap, now);
    }
    return takeFinished();
}

Utterance UtterancePairs::skipVoice(double seconds, Now now) const {
    Utterance skipped = frame_;
    skipped.kind = Utterance::Kind::unspoken;
    skipped.begin = skipped.end = std::min(end_, now.sent);
    skipped.saidAt = now.time - (now.sent - skipped.begin);
    skipped.seconds = seconds;
    return skipped;
}

UtterancePairs::Finished UtterancePairs::finish() {
    Finished finished;
    while (!open_.empty()) {
        takeFirst(finished);
    }
    if (gap_) {
        finished.push_back(*std::exchange(gap_, std::nullopt));
    }
    return finished;
}

void UtterancePairs::takeProgress(const StreamProgress& progress, Now now) {
    using enum StreamProgress::Kind;
    switch (progress.kind) {
        case speechStarted:
            beginSpeech(progress, now);
            break;
        case speechStopped:
            endSpeech(progress, now);
            break;
        case sourceDone:
            nextSource_ = progress.id;
            break;
        case responseBegun:
            answered_ = progress.item;
            break;
        case voiceDone:
            break;
        case responseDone:
            // A response without a translation: the service has given up on this utterance.
            if (const auto failed = named(std::exchange(answered_, {})); failed != open_.end()) {
                failed->translation = failed->translation.value_or("");
            }
            break;
    }
}

void UtterancePairs::beginSpeech(const StreamProgress& progress, Now now) {
    const auto begin = placeOf(progress.milliseconds, now).value_or(now.sent);
    const auto isAgain = [begin](const Open& known) {
        const auto last = known.end ? *known.end - std::min(samePlace, (*known.end - known.begin) / 2)
                                    : known.begin + samePlace;
        return known.begin <= begin + samePlace && begin < last;
    };
    auto utterance = std::ranges::find_if(open_, isAgain);
    if (utterance == open_.end()) {
        utterance = beginAt(begin, now);
    }
    utterance->id = progress.id;
}

void UtterancePairs::endSpeech(const StreamProgress& progress, Now now) {
    auto utterance = named(progress.id);
    if (utterance == open_.end()) {
        utterance =
            std::ranges::find_if(open_, [](const Open& candidate) { return !candidate.end.has_value(); });
    }
    const auto end = placeOf(progress.milliseconds, now).value_or(now.sent);
    if (utterance == open_.end()) {
        utterance = beginAt(end, now);
        utterance->id = progress.id;
    }
    utterance->end = std::max(utterance->begin, end);
}

void UtterancePairs::takeSource(const translate::SourceText& source, Now now) {
    const auto inOrder = awaiting(&Open::text);
    if (!source.done) {
        if (inOrder == open_.end()) {
            beginAt(now.sent, now);
        }
        return;
    }
    auto utterance = named(std::exchange(nextSource_, {}));
    if (utterance == open_.end() || utterance->text) {
        utterance = inOrder;
    }
    if (utterance == open_.end()) {
        utterance = beginAt(now.sent, now);
    }
    utterance->text = source.text;
    utterance->end = utterance->end.value_or(std::max(utterance->begin, now.sent));
}

void UtterancePairs::takeTranslation(const std::string& translation, Now now) {
    const std::string id = std::exchange(answered_, {});
    auto utterance = named(id);
    if (id.empty() || (utterance != open_.end() && utterance->translation)) {
        const auto awaits = [](const Open& candidate) { return !candidate.translation; };
        utterance = std::ranges::find_if(
            open_, [&](const Open& candidate) { return awaits(candidate) && candidate.text; });
        if (utterance == open_.end()) {
            utterance = std::ranges::find_if(
                open_, [&](const Open& candidate) { return awaits(candidate) && candidate.end; });
        }
        if (utterance == open_.end()) {
            utterance = std::ranges::find_if(open_, awaits);
        }
    }
    if (utterance == open_.end()) {
        // What it translates is gone already, or was never told.
        Open alone{.begin = std::min(end_, now.sent), .end = {}, .saidAt = {}, .text = "", .translation = {}};
        alone.end = id.empty() ? now.sent : alone.begin;
        alone.saidAt = now.time - (now.sent - alone.begin);
        open_.push_front(std::move(alone));
        utterance = open_.begin();
    }
    utterance->translation = translation;
    utterance->end = utterance->end.value_or(std::max(utterance->begin, now.sent));
}

void UtterancePairs::takeGap(const translate::Gap& gap, Now now) {
    const auto length = millisecondsOf(gap.seconds);
    if (!gap.milliseconds) {
        leftOut_ += length;
    }
    if (gap_) {
        gap_->seconds += gap.seconds;
        gap_->end += length;
        return;
    }
    const milliseconds latest = std::max(now.sent - length, milliseconds(0));
    gap_ = frame_;
    gap_->kind = Utterance::Kind::untranslated;
    gap_->begin = gap.milliseconds ? std::min(milliseconds(*gap.milliseconds), latest) : latest;
    gap_->end = gap_->begin + length;
    gap_->saidAt = now.time - (now.sent - gap_->begin);
    gap_->seconds = gap.seconds;
}

UtterancePairs::Place UtterancePairs::beginAt(milliseconds begin, Now now) {
    open_.push_back({.begin = begin, .saidAt = now.time - (now.sent - begin)});
    return std::prev(open_.end());
}

/// A name that comes again, since a new connection counts anew, is that of the latest.
UtterancePairs::Place UtterancePairs::named(const std::string& id) {
    if (id.empty()) {
        return open_.end();
    }
    const auto found = std::ranges::find(open_.rbegin(), open_.rend(), id, &Open::id);
    return found == open_.rend() ? open_.end() : std::prev(found.base());
}

UtterancePairs::Place UtterancePairs::awaiting(std::optional<std::string> Open::* text) {
    return std::ranges::find_if(open_, [text](const Open& candidate) { return !(candidate.*text); });
}

std::optional<milliseconds> UtterancePairs::placeOf(std::optional<std::int64_t> told, Now now) const {
    if (!told || *told < 0 || *told > longestStream.count()) {
        return std::nullopt;
    }
    const milliseconds place = milliseconds(*told) + leftOut_;
    return place <= now.sent + aheadAtMost ? std::optional(std::min(place, now.sent)) : std::nullopt;
}

/// Whether nothing more is awaited of the first: also where a later one is translated, or has the transcript
/// that the first lacks.
bool UtterancePairs::isFirstOver() const {
    const Open& first = open_.front();
    const auto isFurther = [&first](const Open& later) {
        return later.translation || (later.text && !first.text && first.translation);
    };
    return (first.text && first.translation) || open_.size() > mostOpen ||
           std::any_of(std::next(open_.begin()), open_.end(), isFurther);
}

UtterancePairs::Finished UtterancePairs::takeFinished() {
    Finished finished;
    while (!open_.empty() && isFirstOver()) {
        takeFirst(finished);
    }
    return finished;
}

void UtterancePairs::takeFirst(Finished& finished) {
    Open first = std::move(open_.front());
    open_.pop_front();
    Utterance said = frame_;
    said.text = std::move(first.text).value_or("");
    said.translation = std::move(first.translation).value_or("");
    if (isBlank(said.text) && isBlank(said.translation)) {
        return;  // noise, or a text that was taken back
    }
    said.begin = first.begin;
    said.end = first.end.value_or(first.begin);
    said.saidAt = first.saidAt;
    end_ = std::max(end_, said.end);
    if (gap_ && gap_->begin <= said.begin) {
        finished.push_back(*std::exchange(gap_, std::nullopt));
    }
    finished.push_back(std::move(said));
}

}  // namespace tarn
