#include "UtteranceLedger.h"

#include <algorithm>

#include "KeptSound.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;

/// Sent twice, the same speech ends in the same place, but for this.
constexpr milliseconds sameEnd{700};
/// A final text that comes within this much sound is no translation of it.
constexpr milliseconds shortestUtterance{1000};
/// A service takes less than this from the end of an utterance to its texts.
constexpr milliseconds noiseIsForgotten{30000};
/// A place further ahead of the sound than a chunk is not one in it.
constexpr milliseconds aheadAtMost{100};
/// How old the oldest sound is that a client leaves out where the network is too slow.
constexpr milliseconds leftOutBehind{10000};

constexpr std::int64_t longestStream = std::int64_t{1000} * 3600 * 24 * 30;  // milliseconds
constexpr std::int64_t bytesPerMillisecond = 32;

}  // namespace

void UtteranceLedger::connect(std::uint64_t base) {
    ++connections_;
    base_ = base;
    settled_ = std::max(settled_, base);
    lastEnd_ = base;
    std::ranges::move(told_, std::back_inserter(again_));
    std::erase_if(again_, [base](const Told& told) { return told.end <= base; });
    told_.clear();
    leftOut_.clear();
    open_.clear();
    hasStopped_ = false;
    isResponseOpen_ = false;
    nextSource_.clear();
    for (const auto kind : {source, translation}) {
        if (!shown_[kind].empty()) {
            replaced_[kind] = shown_[kind].size();
            shown_[kind].clear();
        }
    }
    if (isTranslationFinal_) {
        endVoice();
    }
    voiceSeen_ = 0;
}

void UtteranceLedger::leaveOut(std::uint64_t at, std::uint64_t bytes) {
    leftOut_.emplace_back(at, bytes);
}

std::optional<TarnTranslateEvent> UtteranceLedger::take(TarnTranslateEvent event, std::uint64_t sent) {
    if (auto* const progress = std::get_if<translate::Progress>(&event)) {
        return takeProgress(std::move(*progress), sent);
    }
    if (auto* const text = std::get_if<translate::SourceText>(&event)) {
        return takeText(source, std::move(*text), sent);
    }
    if (auto* const text = std::get_if<translate::TranslatedText>(&event)) {
        return takeText(translation, std::move(*text), sent);
    }
    if (auto* const voice = std::get_if<translate::TranslatedAudio>(&event)) {
        return takeVoice(std::move(*voice));
    }
    if (auto* const gap = std::get_if<translate::Gap>(&event)) {
        const std::uint64_t behind = std::min(KeptSound::bytesOf(leftOutBehind), sent - base_);
        leaveOut(sent - behind, KeptSound::bytesOf(milliseconds(static_cast<int>(gap->seconds * 1000))));
        gap->milliseconds = static_cast<std::int64_t>((sent - behind) / bytesPerMillisecond);
    }
    return event;
}

std::optional<TarnTranslateEvent> UtteranceLedger::takeProgress(StreamProgress progress, std::uint64_t sent) {
    using enum StreamProgress::Kind;
    const auto place = placeOf(progress.milliseconds, sent);
    switch (progress.kind) {
        case speechStarted:
            hasMarks_ = true;
            open_.push_back({.id = progress.id});
            break;
        case speechStopped: {
            hasStopped_ = true;
            Utterance& utterance = stopped(progress.id);
            utterance.isExact = place && *place > lastEnd_;
            utterance.end = utterance.isExact ? *place : sent;
            lastEnd_ = std::max(lastEnd_, *utterance.end);
            break;
        }
        case sourceDone:
            nextSource_ = progress.id;
            break;
        case responseBegun:
        case voiceDone:
        case responseDone:
            takeResponse(progress.kind);
            break;
    }
    progress.milliseconds.reset();
    if (place) {
        progress.milliseconds = static_cast<std::int64_t>(*place) / bytesPerMillisecond;
    }
    return progress;
}

void UtteranceLedger::takeResponse(StreamProgress::Kind kind) {
    if (isTranslationFinal_) {
        endVoice();
    }
    if (kind == StreamProgress::Kind::responseBegun) {
        isResponseOpen_ = true;
    } else if (kind == StreamProgress::Kind::responseDone && std::exchange(isResponseOpen_, false)) {
        // The service has given up on this utterance.
        const auto failed = std::ranges::find_if(
            open_, [](const Utterance& candidate) { return candidate.hasSource && !candidate.isTranslated; });
        if (failed != open_.end()) {
            failed->isTranslated = true;
            settleFront();
        }
    }
}

std::optional<std::uint64_t> UtteranceLedger::placeOf(std::optional<std::int64_t> milliseconds,
                                                      std::uint64_t sent) const {
    if (!milliseconds || *milliseconds < 0 || *milliseconds > longestStream) {
        return std::nullopt;
    }
    std::uint64_t place = base_ + static_cast<std::uint64_t>(*milliseconds * bytesPerMillisecond);
    for (const auto& [at, bytes] : leftOut_) {
        place += place > at ? bytes : 0;
    }
    return place <= sent + KeptSound::bytesOf(aheadAtMost) ? std::optional(std::min(place, sent))
                                                           : std::nullopt;
}

UtteranceLedger::Utterance& UtteranceLedger::stopped(const std::string& id) {
    const auto found = std::ranges::find_if(open_, [&id](const Utterance& candidate) {
        return id.empty() ? !candidate.end : candidate.id == id;
    });
    return found != open_.end() ? *found : open_.emplace_back(Utterance{.id = id});
}

UtteranceLedger::Utterance& UtteranceLedger::withFinal(Kind kind, std::uint64_t sent) {
    Utterance& utterance = kind == source ? withFinalSource(sent) : withFinalTranslation(sent);
    if (!utterance.end) {
        utterance.end = sent;
    }
    return utterance;
}

UtteranceLedger::Utterance& UtteranceLedger::withFinalSource(std::uint64_t sent) {
    const std::string id = std::exchange(nextSource_, {});
    auto found = id.empty() ? open_.end() : std::ranges::find(open_, id, &Utterance::id);
    if (found != open_.end()) {
        // Transcripts come in order: what has stopped before and has none was noise.
        const auto isNoise = [](const Utterance& before) { return before.end && !before.hasSource; };
        const auto kept = std::remove_if(open_.begin(), found, isNoise);
        found = open_.erase(kept, found);
    } else {
        found = std::ranges::find(open_, false, &Utterance::hasSource);
    }
    Utterance& utterance = found != open_.end() ? *found : open_.emplace_back(Utterance{.end = sent});
    utterance.hasSource = true;
    return utterance;
}

UtteranceLedger::Utterance& UtteranceLedger::withFinalTranslation(std::uint64_t sent) {
    const auto awaits = [](const Utterance& candidate) { return !candidate.isTranslated; };
    auto found = std::ranges::find_if(
        open_, [&](const Utterance& candidate) { return awaits(candidate) && candidate.hasSource; });
    if (found == open_.end()) {
        found = std::ranges::find_if(
            open_, [&](const Utterance& candidate) { return awaits(candidate) && candidate.end; });
    }
    if (found == open_.end()) {
        found = std::ranges::find_if(open_, awaits);
    }
    Utterance& utterance =
        found != open_.end() ? *found : open_.emplace_back(Utterance{.end = hasStopped_ ? lastEnd_ : sent});
    utterance.isTranslated = true;
    return utterance;
}

template <typename Text>
std::optional<TarnTranslateEvent> UtteranceLedger::takeText(Kind kind, Text text, std::uint64_t sent) {
    if (!text.done) {
        if (kind == translation && isTranslationFinal_) {
            endVoice();
        }
        // What is said once more grows anew; the half sentence stays until there is more of it.
        if (text.text.size() < replaced_[kind]) {
            return std::nullopt;
        }
        replaced_[kind] = 0;
        shown_[kind] = text.text;
        return text;
    }
    if (isStale(kind, text.text, sent)) {
        ++repeats_;
        return std::nullopt;
    }
    const Utterance utterance = withFinal(kind, sent);
    const bool repeated = isRepeated(kind, utterance);
    told_.push_back({kind, *utterance.end, utterance.isExact});
    if (!repeated) {
        lastFinal_[kind] = text.text;
    }
    shown_[kind].clear();
    replaced_[kind] = 0;
    if (kind == translation) {
        isTranslationFinal_ = true;
        isResponseOpen_ = false;
        settleFront();
    }
    if (repeated) {
        ++repeats_;
        text.done = false;  // it takes the place of the unfinished text, and is not told as an utterance
    }
    return text;
}

bool UtteranceLedger::isRepeated(Kind kind, const Utterance& utterance) {
    for (auto told = again_.begin(); told != again_.end();) {
        if (told->kind != kind) {
            ++told;
            continue;
        }
        const std::uint64_t tolerance = KeptSound::bytesOf(sameEnd);
        if (told->isExact && utterance.isExact) {
            if (*utterance.end + tolerance < told->end) {
                return false;
            }
            if (told->end + tolerance < *utterance.end) {
                told = again_.erase(told);
                continue;
            }
        }
        again_.erase(told);
        return true;
    }
    return false;
}

bool UtteranceLedger::isStale(Kind kind, const std::string& text, std::uint64_t sent) const {
    if (connections_ < 2 || hasStopped_) {
        return false;
    }
    const bool hasTooLittle = hasMarks_ || sent < base_ + KeptSound::bytesOf(shortestUtterance);
    return sent == base_ || (text == lastFinal_[kind] && hasTooLittle);
}

std::optional<TarnTranslateEvent> UtteranceLedger::takeVoice(translate::TranslatedAudio voice) {
    const std::uint64_t from = voiceSeen_;
    voiceSeen_ += voice.bytes.size();
    if (voiceTold_ > from) {
        const std::uint64_t known = std::min<std::uint64_t>(voiceTold_ - from, voice.bytes.size());
        voice.bytes.erase(voice.bytes.begin(), voice.bytes.begin() + static_cast<std::ptrdiff_t>(known));
    }
    if (!isTranslationFinal_) {
        voiceTold_ = std::max(voiceTold_, voiceSeen_);
    }
    return voice.bytes.empty() ? std::nullopt : std::optional<TarnTranslateEvent>(std::move(voice));
}

void UtteranceLedger::endVoice() {
    isTranslationFinal_ = false;
    voiceTold_ = voiceSeen_ = 0;
}

void UtteranceLedger::settleFront() {
    while (!open_.empty() && open_.front().isTranslated) {
        settled_ = std::max(settled_, *open_.front().end);
        open_.pop_front();
    }
    const auto isDone = [this](const Told& told) { return told.end <= settled_; };
    std::erase_if(told_, isDone);
    std::erase_if(again_, isDone);
}

void UtteranceLedger::forgetNoise(std::uint64_t sent) {
    std::erase_if(open_, [sent](const Utterance& utterance) {
        return utterance.end && !utterance.hasSource && !utterance.isTranslated &&
               sent > *utterance.end + KeptSound::bytesOf(noiseIsForgotten);
    });
}

}  // namespace tarn
