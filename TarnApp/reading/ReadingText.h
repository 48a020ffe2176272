#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "SettledText.h"

namespace tarn {

/// The latest utterances of a pane as lines to be read while they grow: settled words keep their line and
/// their place on it, and lines only go away at the top. Each utterance begins a line, and so does what
/// is right in the place of settled words that the final text contradicts. Thread: one.
class ReadingText {
public:
    static constexpr int mostUtterances = 5;

    struct Range {
        qsizetype start = 0;
        qsizetype length = 0;
        bool operator==(const Range&) const = default;
    };
    struct Line {
        QString text;
        qsizetype firm = 0;          ///< how much of it is settled, at its beginning
        std::vector<Range> wrong{};  ///< what of that turned out to be wrong
    };
    /// How wide a line with this text is.
    using WidthOf = std::function<double(const QString&)>;

    explicit ReadingText(SettledText::Rules rules = {}) : rules_(rules) {}

    /// `width`: of a line; `reserve`: how much of it only punctuation may use, which never wraps. Breaks all
    /// lines anew.
    void setRoom(double width, double reserve, WidthOf widthOf);
    void setKept(int utterances);

    void hear(const QString& text, Clock::TimePoint now);  ///< of the current utterance, or a new one
    void finish(const QString& text);                      ///< ends it; of one that is final: nothing
    void letSettle(Clock::TimePoint now);
    std::optional<Clock::TimePoint> nextSettling(Clock::TimePoint now) const;
    void clear();

    bool isEmpty() const { return utterances_.empty(); }
    std::vector<Line> lines() const;
    std::uint64_t linesGone() const { return linesGone_; }  ///< that were above those of `lines`
    bool isRightToLeft() const { return direction_ == Direction::rightToLeft; }
    bool isCurrentFinal() const { return utterances_.empty() || utterances_.back().words.isFinal(); }

    QString shown() const;              ///< the lines, joined by line separators
    std::vector<Range> dimmed() const;  ///< of `shown`: what may still change, and what is wrong
    /// How many characters of what was shown are gone at its beginning, since the last call.
    qsizetype takeDropped() { return std::exchange(dropped_, 0); }

private:
    struct Place {
        std::size_t line = 0;  ///< those that have gone are counted
        qsizetype start = 0;
    };
    struct Utterance {
        SettledText words;
        QString text;                 ///< as it was heard last
        std::vector<Line> lines;      ///< of settled words
        std::vector<Line> tail;       ///< the last of these once more, with what follows and may change
        std::vector<Place> places{};  ///< of settled words
        std::size_t gone = 0;         ///< lines of it that were above
        bool isCorrected = false;
    };

    void lay(Utterance& utterance) const;
    void put(std::vector<Line>& lines, const Word& word, bool spaced) const;
    void correct(Utterance& utterance) const;
    void makeRoom();
    void drop(const std::vector<Line>& lines, std::size_t count);
    template <typename Call>
    void forEachLine(Call call) const;

    const SettledText::Rules rules_;
    int kept_ = 2;
    double width_ = 1e9;
    double reserve_ = 0;
    WidthOf widthOf_ = [](const QString& text) { return static_cast<double>(text.size()); };
    std::deque<Utterance> utterances_;
    Direction direction_ = Direction::none;  ///< of all: what turned with each utterance could not be read
    std::uint64_t linesGone_ = 0;
    qsizetype dropped_ = 0;
};

}  // namespace tarn
