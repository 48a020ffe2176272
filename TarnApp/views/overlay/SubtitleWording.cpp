#include "SubtitleWording.h"

#include <algorithm>

namespace tarn {
namespace {

constexpr qsizetype mostShown = 3000;
// The beginning moves by this much at once, so that the lines do not wrap anew with each word.
constexpr qsizetype step = 1000;
constexpr qsizetype longestWord = 100;

/// Whether `QTextDocument` uses the character for its own structure.
bool isReserved(QChar c) {
    return c == QChar::ObjectReplacementCharacter || (c.unicode() >= 0xfdd0 && c.unicode() <= 0xfdef);
}

}  // namespace

QString shownSubtitle(QString text) {
    for (QChar& c : text) {
        if (c == u'\n' || c == QChar::ParagraphSeparator) {
            c = QChar::LineSeparator;
        } else if (c.category() == QChar::Other_Control) {
            c = u' ';
        } else if (isReserved(c)) {
            c = QChar::ReplacementCharacter;
        }
    }
    return text;
}

qsizetype leftOut(const QString& text) {
    if (text.size() <= mostShown) {
        return 0;
    }
    const qsizetype cut = (text.size() - mostShown + step - 1) / step * step;
    for (qsizetype at = cut; at < std::min(cut + longestWord, text.size()); ++at) {
        if (text[at].isSpace()) {
            return at + 1;
        }
    }
    return text[cut].isLowSurrogate() ? cut + 1 : cut;
}

// A growing text is rewritten at its end only; two sentences seldom share half of the shorter one.
bool isAnotherSentence(const QString& before, const QString& now) {
    const qsizetype shorter = std::min(before.size(), now.size());
    return commonStart(before, now) * 2 < shorter || now.size() * 2 < before.size();
}

qsizetype commonStart(const QString& one, const QString& other) {
    const auto end = std::ranges::mismatch(one, other).in1;
    const qsizetype length = end - one.begin();
    return length > 0 && one[length - 1].isHighSurrogate() ? length - 1 : length;
}

}  // namespace tarn
