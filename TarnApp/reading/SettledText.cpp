#include "SettledText.h"

#include <algorithm>
#include <utility>

namespace tarn {

void SettledText::hear(const QString& text, Clock::TimePoint now) {
    if (isFinal_) {
        return;
    }
    if (direction_ == Direction::none) {
        direction_ = directionOf(text);
    }
    take(wordsOf(text), now);
    recent_.push_back(tail_);
    if (recent_.size() > rules_.agreement) {
        recent_.pop_front();
    }
    // The last word may be the beginning of a longer one.
    std::size_t agreed = recent_.size() == rules_.agreement && !tail_.empty() ? tail_.size() - 1 : 0;
    for (const auto& earlier : recent_) {
        agreed = std::min(agreed, commonWords(tail_, earlier));
    }
    settle(wholeRuns(agreed));
    letSettle(now);
}

/// Makes the tail of what fits behind the settled words.
Alignment SettledText::take(const std::vector<Word>& words, Clock::TimePoint now) {
    Alignment alignment = Alignment::of(settled_, words);
    const std::size_t end = alignment.end;
    if (!settled_.empty() && end > 0) {
        const Word& last = words[end - 1];
        open_ = {{}, last.key == settled_.back().key ? last.closing : QString(), last.spaced, 0};
    }
    const std::vector<Word> before =
        std::exchange(tail_, {words.begin() + static_cast<std::ptrdiff_t>(end), words.end()});
    const std::size_t standing = commonWords(before, tail_);
    since_.resize(standing);
    since_.resize(tail_.size(), now);
    return alignment;
}

void SettledText::letSettle(Clock::TimePoint now) {
    const auto stands = std::ranges::find_if(since_, [&](auto since) { return now - since < rules_.still; });
    settle(wholeRuns(static_cast<std::size_t>(stands - since_.begin())));
}

std::optional<Clock::TimePoint> SettledText::nextSettling(Clock::TimePoint now) const {
    // The later a word stands, the later it is due; those that are due already wait for others.
    const auto next = std::ranges::find_if(since_, [&](auto since) { return now - since < rules_.still; });
    return next == since_.end() ? std::nullopt : std::optional(*next + rules_.still);
}

std::size_t SettledText::wholeRuns(std::size_t count) const {
    const auto isMixed = [this](const Word& word) {
        const Direction own = directionOf(word.text);
        const bool isNumber = own == Direction::none && direction_ == Direction::rightToLeft;
        return isNumber || (own != Direction::none && own != direction_);
    };
    if (std::ranges::any_of(settled_, isMixed) || std::ranges::any_of(tail_, isMixed)) {
        while (count > 0 && directionOf(tail_[count - 1].text) != direction_) {
            --count;
        }
    }
    return count;
}

void SettledText::settle(std::size_t count) {
    if (count == 0) {
        return;
    }
    const auto drop = [count](auto& list) {
        list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size())));
    };
    if (!settled_.empty()) {
        settled_.back().closing = open_.closing;
        settled_.back().spaced = open_.spaced;
    }
    settled_.insert(settled_.end(), tail_.begin(), tail_.begin() + static_cast<std::ptrdiff_t>(count));
    Word& last = settled_.back();
    open_ = {{}, std::exchange(last.closing, {}), std::exchange(last.spaced, false), 0};
    drop(tail_);
    drop(since_);
    std::ranges::for_each(recent_, drop);
}

void SettledText::finish(const QString& text) {
    if (isFinal_) {
        return;
    }
    if (direction_ == Direction::none) {
        direction_ = directionOf(text);
    }
    std::vector<Word> words = wordsOf(text);
    wrong_ = take(words, {}).differences;
    if (!wrong_.empty()) {
        finalWords_ = std::move(words);
    }
    recent_.clear();
    settle(tail_.size());
    isFinal_ = true;
}

}  // namespace tarn
