#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

/// Breaks texts as subtitles are: into pieces of so many lines, at sentence ends, commas and words, and as
/// even as may be. A line has 42 characters at most, or 16 of those that are two columns wide where a text is
/// mainly made of them; a character is what a reader takes for one. Thread: one.
class SubtitleLines {
public:
    using Piece = std::vector<std::string>;  ///< lines

    SubtitleLines();
    ~SubtitleLines();

    /// The pieces of `text`, which is readable text (see TranscriptText.h), each of `most` lines at most: as
    /// few as can hold it, or about `pieces` where that is more and the text has so many words.
    std::vector<Piece> broken(const std::string& text, std::size_t most, std::size_t pieces = 1) const;

    /// The text, or as much of it as fits into so many columns, with an ellipsis.
    std::string shortened(const std::string& text, std::size_t columns) const;

    /// How long a reader needs for `text`: 17 characters a second, or 9 of those that are two columns wide.
    double readingSeconds(const std::string& text) const;

private:
    struct Iterators;
    std::unique_ptr<Iterators> iterators_;
};

}  // namespace tarn
