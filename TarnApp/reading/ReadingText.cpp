#include "ReadingText.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace tarn {
namespace {

// More than any window shows, and few enough to be laid out for every word.
constexpr qsizetype mostCharacters = 2500;

}  // namespace

void ReadingText::setRoom(double width, double reserve, WidthOf widthOf) {
    width_ = width;
    reserve_ = reserve;
    widthOf_ = std::move(widthOf);
    for (Utterance& utterance : utterances_) {
        utterance.lines.clear();
        utterance.places.clear();
        utterance.gone = 0;
        utterance.isCorrected = false;
        lay(utterance);
    }
}

void ReadingText::setKept(int utterances) {
    kept_ = std::clamp(utterances, 1, mostUtterances);
    makeRoom();
}

void ReadingText::hear(const QString& text, Clock::TimePoint now) {
    if (isCurrentFinal()) {
        if (text.isEmpty() || (!utterances_.empty() && utterances_.back().text == text)) {
            return;
        }
        utterances_.push_back({.words = SettledText(rules_), .text = {}, .lines = {}, .tail = {}});
    }
    Utterance& current = utterances_.back();
    current.text = text;
    current.words.hear(text, now);
    if (direction_ == Direction::none) {
        direction_ = current.words.direction();
    }
    lay(current);
    makeRoom();
}

void ReadingText::finish(const QString& text) {
    if (isCurrentFinal()) {
        hear(text, {});
    }
    if (!isCurrentFinal()) {
        Utterance& current = utterances_.back();
        current.text = text;
        current.words.finish(text);
        lay(current);
        makeRoom();
    }
}

void ReadingText::letSettle(Clock::TimePoint now) {
    if (!isCurrentFinal()) {
        utterances_.back().words.letSettle(now);
        lay(utterances_.back());
    }
}

std::optional<Clock::TimePoint> ReadingText::nextSettling(Clock::TimePoint now) const {
    return isCurrentFinal() ? std::nullopt : utterances_.back().words.nextSettling(now);
}

void ReadingText::clear() {
    for (const Utterance& utterance : utterances_) {
        drop(utterance.tail, utterance.tail.size());
    }
    utterances_.clear();
    direction_ = Direction::none;
}

/// Puts the words that have settled since behind those of before, and the tail behind these.
void ReadingText::lay(Utterance& utterance) const {
    const auto& settled = utterance.words.settled();
    auto& [words, text, lines, tail, places, gone, isCorrected] = utterance;
    for (std::size_t i = places.size(); i < settled.size(); ++i) {
        if (i > 0) {
            lines.back().text += settled[i - 1].closing;
        }
        put(lines, settled[i], i > 0 && settled[i - 1].spaced);
        places.push_back({gone + lines.size() - 1, lines.back().text.size() - settled[i].text.size()});
    }
    if (!words.wrong().empty() && !isCorrected) {
        correct(utterance);
    }
    for (Line& line : lines) {
        line.firm = line.text.size();
    }
    tail = lines;
    const Word* before = &words.open();
    if (!tail.empty()) {
        tail.back().text += before->closing;
        if (words.isFinal()) {
            tail.back().firm = tail.back().text.size();
        }
    }
    for (const Word& word : words.tail()) {
        put(tail, word, before->spaced && before != &word);
        tail.back().text += word.closing;
        before = &word;
    }
}

/// A word that is wider than a line is cut into as many as it takes.
void ReadingText::put(std::vector<Line>& lines, const Word& word, bool spaced) const {
    const double room = width_ - reserve_;
    if (lines.empty()) {
        lines.emplace_back();
    }
    const QString longer =
        lines.back().text + (spaced && !lines.back().text.isEmpty() ? " " : "") + word.text;
    if (widthOf_(longer) <= room) {
        lines.back().text = longer;
        return;
    }
    if (!lines.back().text.isEmpty()) {
        lines.emplace_back();
    }
    if (widthOf_(word.text) <= room) {
        lines.back().text = word.text;
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, word.text);
    for (qsizetype at = 0, next = finder.toNextBoundary(); next > at;
         at = next, next = finder.toNextBoundary()) {
        const QString piece = word.text.mid(at, next - at);
        if (!lines.back().text.isEmpty() && widthOf_(lines.back().text + piece) > room) {
            lines.emplace_back();
        }
        lines.back().text += piece;
    }
}

/// Settled words that are wrong stay, and what is right follows on a line of its own, in the same order: to
/// write the rest of the utterance again would be more to read than the few words that differ.
void ReadingText::correct(Utterance& utterance) const {
    utterance.isCorrected = true;
    auto& lines = utterance.lines;
    const std::vector<Word>& right = utterance.words.finalWords();
    std::vector<Word> correction;
    const Word ellipsis{QStringLiteral("…"), {}, true, 0};
    for (const auto& [first, count, otherFirst, otherCount] : utterance.words.wrong()) {
        for (std::size_t i = first; i < first + count; ++i) {
            if (const auto [line, start] = utterance.places[i]; line >= utterance.gone) {
                const qsizetype length = utterance.words.settled()[i].text.size();
                lines[line - utterance.gone].wrong.push_back({std::max<qsizetype>(start, 0), length});
            }
        }
        if (otherCount > 0) {
            // What was left out would not tell by itself where it belongs.
            const std::size_t from = count == 0 && otherFirst > 0 ? otherFirst - 1 : otherFirst;
            correction.push_back(ellipsis);
            for (std::size_t i = from; i < otherFirst + otherCount; ++i) {
                correction.push_back(right[i]);
            }
            correction.back().spaced = true;
        }
    }
    if (correction.empty()) {
        return;
    }
    correction.push_back(ellipsis);
    lines.emplace_back();
    for (std::size_t i = 0; i < correction.size(); ++i) {
        put(lines, correction[i], i > 0 && correction[i - 1].spaced);
        lines.back().text += correction[i].closing;
    }
}

/// The oldest lines go where there are too many utterances, or too long ones.
void ReadingText::makeRoom() {
    while (utterances_.size() > static_cast<std::size_t>(kept_)) {
        drop(utterances_.front().tail, utterances_.front().tail.size());
        utterances_.pop_front();
    }
    qsizetype all = 0;
    forEachLine([&](const Line& line) { all += line.text.size() + 1; });
    while (all > mostCharacters) {
        Utterance& first = utterances_.front();
        if (first.lines.size() < 2) {
            if (utterances_.size() == 1) {
                return;
            }
            drop(first.tail, first.tail.size());
            utterances_.pop_front();
        } else {
            drop(first.tail, 1);
            first.lines.erase(first.lines.begin());
            first.tail.erase(first.tail.begin());
            ++first.gone;
        }
        all = 0;
        forEachLine([&](const Line& line) { all += line.text.size() + 1; });
    }
}

void ReadingText::drop(const std::vector<Line>& lines, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        dropped_ += lines[i].text.size() + 1;
    }
    linesGone_ += count;
}

template <typename Call>
void ReadingText::forEachLine(Call call) const {
    for (const Utterance& utterance : utterances_) {
        for (const Line& line : utterance.tail) {
            call(line);
        }
    }
}

std::vector<ReadingText::Line> ReadingText::lines() const {
    std::vector<Line> all;
    forEachLine([&](const Line& line) { all.push_back(line); });
    return all;
}

QString ReadingText::shown() const {
    QString all;
    bool isFirst = true;
    forEachLine([&](const Line& line) {
        if (!std::exchange(isFirst, false)) {
            all += QChar(QChar::LineSeparator);
        }
        all += line.text;
    });
    return all;
}

std::vector<ReadingText::Range> ReadingText::dimmed() const {
    std::vector<Range> ranges;
    qsizetype at = 0;
    forEachLine([&](const Line& line) {
        for (const Range& wrong : line.wrong) {
            ranges.push_back({at + wrong.start, wrong.length});
        }
        if (line.text.size() > line.firm) {
            ranges.push_back({at + line.firm, line.text.size() - line.firm});
        }
        at += line.text.size() + 1;
    });
    return ranges;
}

}  // namespace tarn
