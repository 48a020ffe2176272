#include "SubtitleLines.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

namespace tarn {
namespace {

constexpr double narrowPerSecond = 17;
constexpr double widePerSecond = 9;
constexpr int mostColumns = 42;
constexpr int mostWideColumns = 32;  // 16 characters

// What a break costs, in the unit of the unevenness of lines: the square of the columns that are missing to
// an even share of the text.
constexpr double costAfterComma = 60;
constexpr double costWithinPhrase = 300;
constexpr double costWithinWord = 400;
// The best breaks of a longer text would take too long to find: it is first cut into even parts.
constexpr std::size_t mostWordsAtOnce = 200;

bool isWide(UChar32 c) {
    const int width = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

bool isOneOf(UChar32 c, std::u32string_view characters) {
    return characters.find(static_cast<char32_t>(c)) != std::u32string_view::npos;
}

/// A part of a text between two places where it may be broken.
struct Word {
    std::string text;  ///< without the spaces behind it
    int columns = 0;
    int spaces = 0;        ///< columns of those
    double breakCost = 0;  ///< of a break behind it
};

using Words = std::span<const Word>;

int columnsOf(Words words) {
    int columns = 0;
    for (const Word& word : words) {
        columns += word.columns + word.spaces;
    }
    return words.empty() ? 0 : columns - words.back().spaces;
}

std::string joined(Words words) {
    std::string line;
    for (const Word& word : words) {
        line += word.text;
        line.append(&word == &words.back() ? 0 : static_cast<std::size_t>(word.spaces), ' ');
    }
    return line;
}

/// How many words from the first on fit into one line; one at least.
std::size_t fitting(Words words, int limit) {
    int columns = 0;
    std::size_t count = 0;
    while (count < words.size() && (count == 0 || columns + words[count].columns <= limit)) {
        columns += words[count].columns + words[count].spaces;
        ++count;
    }
    return count;
}

/// How many words from the first on fit into so many lines.
std::size_t fitting(Words words, int limit, std::size_t lines) {
    std::size_t count = 0;
    for (; lines > 0 && count < words.size(); --lines) {
        count += fitting(words.subspan(count), limit);
    }
    return count;
}

std::size_t needed(Words words, int limit, std::size_t lines) {
    std::size_t pieces = 0;
    for (std::size_t at = 0; at < words.size(); ++pieces) {
        at += fitting(words.subspan(at), limit, lines);
    }
    return pieces;
}

/// Where the words are broken into exactly `count` parts of `lines` lines at most: the end of each part, at
/// the least cost. There must be a way.
std::vector<std::size_t> bestEnds(Words words, int limit, std::size_t lines, std::size_t count) {
    constexpr double impossible = std::numeric_limits<double>::infinity();
    const double share = static_cast<double>(columnsOf(words)) / static_cast<double>(count);
    struct Way {
        double cost = impossible;
        std::size_t from = 0;
    };
    std::vector<std::vector<Way>> ways(count + 1, std::vector<Way>(words.size() + 1));
    ways[0][0].cost = 0;
    for (std::size_t part = 0; part < count; ++part) {
        for (std::size_t from = 0; from < words.size(); ++from) {
            if (ways[part][from].cost == impossible) {
                continue;
            }
            const std::size_t most = fitting(words.subspan(from), limit, lines);
            for (std::size_t size = 1; size <= most; ++size) {
                const double missing =
                    (share - columnsOf(words.subspan(from, size))) / static_cast<double>(lines);
                const std::size_t end = from + size;
                const double cost = ways[part][from].cost + missing * missing +
                                    (end == words.size() ? 0 : words[end - 1].breakCost);
                if (cost < ways[part + 1][end].cost) {
                    ways[part + 1][end] = {cost, from};
                }
            }
        }
    }
    std::vector<std::size_t> ends(count);
    for (std::size_t part = count, end = words.size(); part > 0; --part) {
        ends[part - 1] = end;
        end = ways[part][end].from;
    }
    return ends;
}

std::vector<Words> parted(Words words, int limit, std::size_t lines, std::size_t count) {
    std::vector<Words> parts;
    std::size_t from = 0;
    for (const std::size_t end : bestEnds(words, limit, lines, count)) {
        parts.push_back(words.subspan(from, end - from));
        from = end;
    }
    return parts;
}

/// What a reader takes for one character of a text.
struct Character {
    std::int32_t end = 0;
    int columns = 1;
};

std::vector<std::int32_t> endsIn(icu::BreakIterator& iterator, const icu::UnicodeString& text) {
    std::vector<std::int32_t> ends;
    iterator.setText(text);
    for (auto end = iterator.next(); end != icu::BreakIterator::DONE; end = iterator.next()) {
        ends.push_back(end);
    }
    return ends;
}

struct Size {
    std::size_t narrow = 0;
    std::size_t wide = 0;
};

Size sizeOf(const std::vector<Character>& characters) {
    const auto wide = static_cast<std::size_t>(
        std::ranges::count_if(characters, [](const Character& each) { return each.columns == 2; }));
    return {characters.size() - wide, wide};
}

double costBehind(UChar32 last) {
    if (isOneOf(last, U".!?…。！？．;；:：")) {
        return 0;
    }
    return isOneOf(last, U",،、，)）]」』”»–—-") ? costAfterComma : costWithinPhrase;
}

}  // namespace

struct SubtitleLines::Iterators {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> lines{
        icu::BreakIterator::createLineInstance(icu::Locale::getRoot(), status)};
    std::unique_ptr<icu::BreakIterator> words{
        icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status)};
    std::unique_ptr<icu::BreakIterator> characters{
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status)};

    std::vector<Character> charactersOf(const icu::UnicodeString& text) const;
    std::vector<Word> wordsOf(const icu::UnicodeString& text, const std::vector<Character>& in,
                              int limit) const;
};

std::vector<Character> SubtitleLines::Iterators::charactersOf(const icu::UnicodeString& text) const {
    std::vector<Character> found;
    std::int32_t at = 0;
    for (const std::int32_t end : endsIn(*characters, text)) {
        bool wide = false;
        for (; at < end; at = text.moveIndex32(at, 1)) {
            wide = wide || isWide(text.char32At(at));
        }
        found.push_back({end, wide ? 2 : 1});
    }
    return found;
}

/// The parts of the text between places where it may be broken, none wider than `limit`: what has no such
/// place is broken between two characters.
std::vector<Word> SubtitleLines::Iterators::wordsOf(const icu::UnicodeString& text,
                                                    const std::vector<Character>& in, int limit) const {
    std::vector<Word> found;
    const auto lineEnds = endsIn(*lines, text);
    const auto wordEnds = endsIn(*words, text);
    const auto isIn = [](const std::vector<std::int32_t>& ends, std::int32_t end) {
        return std::ranges::binary_search(ends, end);
    };
    Word word;
    std::int32_t from = 0;
    const auto add = [&](std::int32_t end, double cost) {
        icu::UnicodeString part(text, from, end - from);
        word.spaces = part.endsWith(u' ') ? 1 : 0;
        part.truncate(part.length() - word.spaces);
        word.columns -= word.spaces;
        part.toUTF8String(word.text);
        word.breakCost = cost;
        found.push_back(std::exchange(word, {}));
        from = end;
    };
    std::int32_t before = 0;  // end of the character before
    for (const Character& character : in) {
        const bool isSpace = text[character.end - 1] == u' ';
        if (word.columns + character.columns > limit && !isSpace) {
            add(before, costWithinWord);
        }
        word.columns += character.columns;
        if (isIn(lineEnds, character.end)) {
            const auto last = text.char32At(text.moveIndex32(character.end, isSpace ? -2 : -1));
            add(character.end, isIn(wordEnds, character.end) ? costBehind(last) : costWithinWord);
        }
        before = character.end;
    }
    return found;
}

SubtitleLines::SubtitleLines() : iterators_(std::make_unique<Iterators>()) {}
SubtitleLines::~SubtitleLines() = default;

std::vector<SubtitleLines::Piece> SubtitleLines::broken(const std::string& text, std::size_t most,
                                                        std::size_t pieces) const {
    const auto unicode = icu::UnicodeString::fromUTF8(text);
    const auto characters = iterators_->charactersOf(unicode);
    const auto size = sizeOf(characters);
    const int limit = size.wide * 2 > size.narrow ? mostWideColumns : mostColumns;
    const auto all = iterators_->wordsOf(unicode, characters, limit);

    std::vector<Piece> result;
    const std::size_t blocks = (all.size() + mostWordsAtOnce - 1) / mostWordsAtOnce;
    for (std::size_t block = 0; block < blocks; ++block) {
        const std::size_t from = all.size() * block / blocks;
        const Words words = Words(all).subspan(from, all.size() * (block + 1) / blocks - from);
        const std::size_t wanted = pieces * (block + 1) / blocks - pieces * block / blocks;
        const std::size_t count = std::clamp(wanted, needed(words, limit, most), words.size());
        for (const Words part : parted(words, limit, most, count)) {
            Piece& piece = result.emplace_back();
            for (const Words line : parted(part, limit, 1, needed(part, limit, 1))) {
                piece.push_back(joined(line));
            }
        }
    }
    return result;
}

std::string SubtitleLines::shortened(const std::string& text, std::size_t columns) const {
    auto unicode = icu::UnicodeString::fromUTF8(text);
    std::int32_t end = 0;  // of what fits with an ellipsis behind it
    std::size_t used = 0;
    for (const Character& character : iterators_->charactersOf(unicode)) {
        used += static_cast<std::size_t>(character.columns);
        if (used > columns) {
            std::string cut;
            unicode.truncate(end);
            return unicode.trim().toUTF8String(cut) + "…";
        }
        end = used < columns ? character.end : end;
    }
    return text;
}

double SubtitleLines::readingSeconds(const std::string& text) const {
    const auto size = sizeOf(iterators_->charactersOf(icu::UnicodeString::fromUTF8(text)));
    return static_cast<double>(size.narrow) / narrowPerSecond +
           static_cast<double>(size.wide) / widePerSecond;
}

}  // namespace tarn
