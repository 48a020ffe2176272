#pragma once

#include <QString>

namespace tarn {

/// The text as it can be shown: line ends as line separators, other control characters as spaces, and what
/// the layout keeps for itself as the replacement character. Of the same length. Thread: any.
QString shownSubtitle(QString text);

/// How many characters of `text` are left out at its beginning, so that a text without end costs no more than
/// a long one: always whole words where there are any, and changing seldom while the text grows.
qsizetype leftOut(const QString& text);

/// Whether `now` is another sentence than `before`, rather than that one grown or corrected.
bool isAnotherSentence(const QString& before, const QString& now);

/// How many characters both begin with, without splitting one.
qsizetype commonStart(const QString& one, const QString& other);

}  // namespace tarn
