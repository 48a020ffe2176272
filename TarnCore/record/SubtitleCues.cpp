#include "SubtitleCues.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "TranscriptText.h"
#include "TranscriptWords.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t mostLines = 2;
constexpr milliseconds shortest{1000};  // that a cue is wanted
// Where there is no room for that: what a cue has even when people speak at once.
constexpr milliseconds shortestOfAll{250};
// Of the name in front of a line: an application may have called itself anything.
constexpr std::size_t mostOfName = 14;

milliseconds sum(const std::vector<SubtitleCue>& cues) {
    return std::transform_reduce(cues.begin(), cues.end(), milliseconds{}, std::plus<>{},
                                 [](const SubtitleCue& cue) { return cue.reading; });
}

/// Makes each begin where or after the one before ends, and stay to be read where there is room.
void takeTurns(std::vector<SubtitleCue>& cues, milliseconds earliest, milliseconds limit) {
    for (std::size_t i = 0; i < cues.size(); ++i) {
        cues[i].begin = std::max(cues[i].begin, i == 0 ? earliest : cues[i - 1].begin + shortestOfAll);
    }
    for (std::size_t i = 0; i < cues.size(); ++i) {
        SubtitleCue& cue = cues[i];
        const milliseconds room = i + 1 < cues.size() ? cues[i + 1].begin : std::max(limit, cue.end);
        cue.end = std::clamp(std::max(cue.end, cue.begin + cue.reading), cue.begin + shortestOfAll,
                             std::max(room, cue.begin + shortestOfAll));
    }
}

}  // namespace

std::vector<SubtitleCue> SubtitleCues::of(std::span<const TimedUtterance> utterances, milliseconds earliest,
                                          milliseconds limit) const {
    std::vector<SubtitleCue> cues;
    for (std::size_t i = 0; i < utterances.size(); ++i) {
        const bool isLast = i + 1 == utterances.size();
        std::ranges::move(ofOne(utterances[i], isLast ? limit : utterances[i + 1].begin),
                          std::back_inserter(cues));
    }
    std::ranges::stable_sort(cues, {}, &SubtitleCue::begin);
    takeTurns(cues, earliest, limit);
    return cues;
}

/// Gives the cues of an utterance shares of its time, and of the silence behind it as far as they need it.
std::vector<SubtitleCue> SubtitleCues::ofOne(const TimedUtterance& timed, milliseconds limit) const {
    auto cues = untimed(timed.utterance);
    const milliseconds all = sum(cues);
    const milliseconds end = std::max(timed.end, std::min(limit, timed.begin + all));
    milliseconds before{};
    const auto placeOf = [&](milliseconds read) {
        const double share = static_cast<double>(read.count()) / static_cast<double>(all.count());
        return timed.begin +
               milliseconds(std::llround(share * static_cast<double>((end - timed.begin).count())));
    };
    for (SubtitleCue& cue : cues) {
        cue.begin = placeOf(before);
        before += cue.reading;
        cue.end = placeOf(before);
        cue.name = options_.namesSources ? readableText(timed.utterance.sourceName) : "";
    }
    return cues;
}

std::vector<SubtitleCue> SubtitleCues::untimed(const Utterance& utterance) const {
    if (utterance.kind == Utterance::Kind::untranslated) {
        return screensOf(readableText(options_.gapText(utterance.seconds)));
    }
    const auto words = wordsOf(utterance, options_);
    // A format that has no place of its own for names has them in front of the words.
    const auto name = options_.namesSources && options_.format == TranscriptFormat::srt
                          ? lines_.shortened(readableText(utterance.sourceName), mostOfName)
                          : std::string();
    const auto named = [&](const std::string& text) {
        return name.empty() ? text : "- " + name + ": " + text;
    };
    if (words.original.empty() || words.translation.empty()) {
        return screensOf(named(words.original + words.translation));
    }
    return screensOf(named(words.original), words.translation);
}

std::vector<SubtitleCue> SubtitleCues::screensOf(const std::string& text) const {
    std::vector<SubtitleCue> cues;
    for (auto& piece : lines_.broken(text, mostLines)) {
        SubtitleCue& cue = cues.emplace_back();
        for (const std::string& line : piece) {
            cue.reading += readingTime(line);
        }
        cue.reading = std::max(cue.reading, shortest);
        cue.lines = std::move(piece);
    }
    return cues;
}

/// One line of each; who reads the one does not read the other.
std::vector<SubtitleCue> SubtitleCues::screensOf(const std::string& original,
                                                 const std::string& translation) const {
    auto first = lines_.broken(original, 1);
    auto second = lines_.broken(translation, 1);
    if (first.size() < second.size()) {
        first = lines_.broken(original, 1, second.size());
    } else if (second.size() < first.size()) {
        second = lines_.broken(translation, 1, first.size());
    }
    std::vector<SubtitleCue> cues(std::max(first.size(), second.size()));
    for (const auto* const pieces : {&first, &second}) {
        for (std::size_t i = 0; i < pieces->size(); ++i) {
            const std::string& line = (*pieces)[i].front();
            cues[i].reading = std::max({cues[i].reading, readingTime(line), shortest});
            cues[i].lines.push_back(line);
        }
    }
    return cues;
}

milliseconds SubtitleCues::readingTime(const std::string& text) const {
    return milliseconds(std::llround(std::ceil(lines_.readingSeconds(text) * 1000)));
}

}  // namespace tarn
