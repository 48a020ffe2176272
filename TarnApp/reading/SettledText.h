#pragma once

#include <QString>
#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

#include "Alignment.h"
#include "TarnPlatform/base/Clock.h"
#include "Words.h"

namespace tarn {

/// The words of one utterance that a reader can rely on, found in its growing text: once settled, a word is
/// never changed, moved or taken away.
///
/// A word settles when several texts in a row agreed on it and on all before it, and another word follows
/// (the "local agreement" of Liu, Spanakis and Niehues, "Low-latency sequence-to-sequence speech recognition
/// and translation by partial hypothesis selection", Interspeech 2020); or when it has stood still for a
/// while; or when the utterance is final. Words written against the direction of the utterance settle only
/// together with one that is not, since what follows them decides their order.
///
/// A text that contradicts settled words leaves them as they are, and goes on behind them where it fits best.
/// Where the final text does, it tells which words are wrong, and what is right in their place. Capitals and
/// punctuation contradict nothing. Thread: one.
class SettledText {
public:
    struct Rules {
        std::size_t agreement = 4;  ///< texts in a row, one at least
        std::chrono::milliseconds still{1500};
    };

    explicit SettledText(Rules rules) : rules_(rules) {}

    void hear(const QString& text, Clock::TimePoint now);
    void finish(const QString& text);      ///< the final text; nothing more follows
    void letSettle(Clock::TimePoint now);  ///< what has stood still long enough
    /// When more will have stood still long enough, if nothing is heard until then.
    std::optional<Clock::TimePoint> nextSettling(Clock::TimePoint now) const;

    /// The last one has no closing and no space yet: `open` has them.
    const std::vector<Word>& settled() const { return settled_; }
    const Word& open() const { return open_; }               ///< of the last settled word, as of now
    const std::vector<Word>& tail() const { return tail_; }  ///< what follows and may still change
    /// What of the settled words is wrong, once the text is final, and which words of that are right.
    const std::vector<Alignment::Difference>& wrong() const { return wrong_; }
    const std::vector<Word>& finalWords() const { return finalWords_; }  ///< where anything is wrong
    bool isFinal() const { return isFinal_; }
    Direction direction() const { return direction_; }

private:
    Alignment take(const std::vector<Word>& words, Clock::TimePoint now);
    std::size_t wholeRuns(std::size_t count) const;
    void settle(std::size_t count);

    const Rules rules_;
    std::vector<Word> settled_;
    Word open_;
    std::vector<Word> tail_;
    std::vector<Clock::TimePoint> since_;   ///< for each word of the tail, that it and all before it stand
    std::deque<std::vector<Word>> recent_;  ///< the latest tails, this one included
    std::vector<Alignment::Difference> wrong_;
    std::vector<Word> finalWords_;
    Direction direction_ = Direction::none;
    bool isFinal_ = false;
};

}  // namespace tarn
