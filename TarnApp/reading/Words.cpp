#include "Words.h"

#include <QHashFunctions>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace tarn {
namespace {

bool isClosing(QChar c) {
    static const QString others = QStringLiteral(".,;:!?\"'…。，、；：！？．،؛؟।");
    return c.category() == QChar::Punctuation_Close || c.category() == QChar::Punctuation_FinalQuote ||
           others.contains(c);
}

/// Written without spaces between words, which only a dictionary would find.
bool isUnspaced(QChar c) {
    return c.script() == QChar::Script_Thai || c.script() == QChar::Script_Lao ||
           c.script() == QChar::Script_Khmer || c.script() == QChar::Script_Myanmar;
}

Word word(const QString& text, const QString& closing, bool spaced) {
    return {text, closing, spaced, qHash(text.toCaseFolded())};
}

void addWord(std::vector<Word>& words, const QString& piece, bool spaced) {
    qsizetype end = piece.size();
    while (end > 0 && isClosing(piece[end - 1])) {
        --end;
    }
    if (end == 0) {
        words.push_back(word(piece, {}, spaced));
        return;
    }
    const QString text = piece.left(end);
    if (!std::ranges::any_of(text, isUnspaced)) {
        words.push_back(word(text, piece.mid(end), spaced));
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype at = 0, next = finder.toNextBoundary(); next > at;
         at = next, next = finder.toNextBoundary()) {
        const bool isLast = next == end;
        words.push_back(word(text.mid(at, next - at), isLast ? piece.mid(end) : QString(), isLast && spaced));
    }
}

}  // namespace

std::vector<Word> wordsOf(const QString& text) {
    const QString plain = text.simplified();
    std::vector<Word> words;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, plain);
    for (qsizetype at = 0, next = finder.toNextBoundary(); next > at;
         at = next, next = finder.toNextBoundary()) {
        const bool spaced = plain[next - 1] == u' ';
        const QString piece = plain.mid(at, next - at - (spaced ? 1 : 0));
        if (!piece.isEmpty()) {
            addWord(words, piece, spaced);
        }
    }
    return words;
}

std::size_t commonWords(const std::vector<Word>& one, const std::vector<Word>& other) {
    return static_cast<std::size_t>(std::ranges::mismatch(one, other, {}, &Word::key, &Word::key).in1 -
                                    one.begin());
}

Direction directionOf(const QString& text) {
    for (const QChar c : text) {
        switch (c.direction()) {
            case QChar::DirL:
                return Direction::leftToRight;
            case QChar::DirR:
            case QChar::DirAL:
                return Direction::rightToLeft;
            default:
                break;
        }
    }
    return Direction::none;
}

}  // namespace tarn
