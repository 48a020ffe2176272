#pragma once

#include <cstddef>
#include <deque>
#include <string>

namespace tarn::relay {

/// Splits the growing text of an utterance into the words that have stopped changing and the rest. Not
/// thread-safe.
///
/// Recognisers and translators revise their latest words, and a reader should see which ones may still
/// change. A word counts as stable once several texts in a row begin with it and all before it (the "local
/// agreement" of Liu, Spanakis and Niehues, "Low-latency sequence-to-sequence speech recognition and
/// translation by partial hypothesis selection", Interspeech 2020). It may change even so; agreement only
/// makes that rare.
class StableText {
public:
    struct Split {
        std::string text;   ///< the stable beginning
        std::string stash;  ///< the rest, which may still change, with the space that joins it to `text`
        bool operator==(const Split&) const = default;
    };

    /// `agreement`: how many texts in a row must begin with a word for it to count as stable; at least 1.
    explicit StableText(std::size_t agreement = 4) : agreement_(agreement) {}

    /// `text + stash` of the result is `whole`, always.
    Split update(const std::string& whole);

    void clear() { recent_.clear(); }

private:
    const std::size_t agreement_;
    std::deque<std::string> recent_;
};

}  // namespace tarn::relay
