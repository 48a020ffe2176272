#include "Transcript.h"

#include <algorithm>
#include <utility>

#include "TranscriptWords.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;

/// How much later than others an utterance may come and still have its place: sound is kept for two minutes.
constexpr std::chrono::minutes latest{3};
/// Of utterances without a pause, which are written anew together: of more, the first have to do.
constexpr std::size_t mostInGroup = 32;

}  // namespace

std::unique_ptr<TranscriptParts> TranscriptParts::of(const TranscriptOptions& options) {
    switch (options.format) {
        case TranscriptFormat::txt:
            return plainTextParts(options);
        case TranscriptFormat::markdown:
            return markdownParts(options);
        case TranscriptFormat::srt:
            return subRipParts(options);
        case TranscriptFormat::webvtt:
            return webVttParts(options);
        case TranscriptFormat::csv:
            return tableParts(options);
        case TranscriptFormat::json:
            return jsonParts(options);
        case TranscriptFormat::jsonl:
            break;
    }
    return jsonLinesParts(options);
}

std::string writeTranscript(std::span<const Utterance> utterances, const TranscriptOptions& options) {
    TranscriptOptions all = options;
    TranscriptTimes times(options.isOfRecording);
    std::vector<TimedUtterance> timed;
    for (const Utterance& utterance : utterances) {
        all.namesSources = all.namesSources || utterance.source != utterances.front().source;
        if (isTold(utterance, options)) {
            timed.push_back(times.timed(utterance));
        }
    }
    std::ranges::stable_sort(timed, {}, &TimedUtterance::begin);
    const auto parts = TranscriptParts::of(all);
    TranscriptParts::Place place;
    return parts->head() + parts->body(timed, place, milliseconds::max()) + parts->foot();
}

Transcript::Transcript(const TranscriptOptions& options)
    : options_(options), parts_(TranscriptParts::of(options)), times_(options.isOfRecording) {}

Transcript::Change Transcript::start() {
    const auto head = parts_->head();
    end_.at = head.size();
    return {0, head + parts_->foot(), end_.at};
}

Transcript::Change Transcript::add(const Utterance& utterance) {
    if (!isTold(utterance, options_)) {
        return {end_.at, parts_->foot(), settled()};
    }
    auto timed = times_.timed(utterance);
    const auto place = std::ranges::upper_bound(latest_, timed.begin, {}, &TimedUtterance::begin);
    const auto from = reopen(static_cast<std::size_t>(place - latest_.begin()));
    latest_.insert(place, std::move(timed));
    const std::size_t keep = end_.at;
    auto bytes = write(from);
    forgetOld();
    return {keep, std::move(bytes) + parts_->foot(), settled()};
}

std::size_t Transcript::settled() const {
    return groups_.empty() ? end_.at : groups_.front().start.at;
}

/// Gives up the group that an utterance at `index` falls into or follows, those behind, and the one before,
/// whose last subtitle stays until the next one. Returns the first utterance of these.
std::size_t Transcript::reopen(std::size_t index) {
    std::size_t before = 0;  // utterances in front of the group
    std::size_t group = 0;
    while (group + 1 < groups_.size() && before + groups_[group].size <= index) {
        before += groups_[group++].size;
    }
    if (group > 0) {
        before -= groups_[--group].size;
    }
    if (group < groups_.size()) {
        end_ = groups_[group].start;
        groups_.resize(group);
    }
    return before;
}

/// Writes the utterances from `from` on, which is the end of the last group.
std::string Transcript::write(std::size_t from) {
    std::string bytes;
    milliseconds end{};
    for (std::size_t i = from; i < latest_.size(); ++i) {
        end = std::max(end, latest_[i].end);
        const bool isLast = i + 1 == latest_.size();
        const auto next = isLast ? milliseconds::max() : latest_[i + 1].begin;
        const std::size_t size = i + 1 - from;
        if (isLast || end <= next || size == mostInGroup) {
            groups_.push_back({size, end_});
            const auto written = parts_->body(std::span(latest_).subspan(from, size), end_.place, next);
            end_.at += written.size();
            bytes += written;
            from = i + 1;
        }
    }
    return bytes;
}

void Transcript::forgetOld() {
    while (groups_.size() > 2) {
        const auto size = groups_.front().size;
        if (latest_[size].begin > latest_.back().begin - latest) {
            break;
        }
        latest_.erase(latest_.begin(), latest_.begin() + static_cast<std::ptrdiff_t>(size));
        groups_.erase(groups_.begin());
    }
}

}  // namespace tarn
