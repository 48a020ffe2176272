#pragma once

#include <QString>
#include <cstddef>
#include <vector>

namespace tarn {

/// A piece of a text between two places where its line may break: a word, or a character where the writing
/// has no spaces.
struct Word {
    QString text;         ///< with what opens it: "(meeting"
    QString closing;      ///< what stands behind it on the same line: ".", "”)"
    bool spaced = false;  ///< a space follows
    /// Equal for what is one word for a reader, whatever its capitals and what stands behind it.
    std::size_t key = 0;
};

/// The text in words; spaces at its ends are lost, and each run of them inside is one.
std::vector<Word> wordsOf(const QString& text);

/// How many words both begin with.
std::size_t commonWords(const std::vector<Word>& one, const std::vector<Word>& other);

enum class Direction { none, leftToRight, rightToLeft };

/// That of the first letter; digits have none.
Direction directionOf(const QString& text);

}  // namespace tarn
