#include "ShownUtterance.h"

#include <QDateTime>

#include "TarnApp/localization/DurationText.h"

namespace tarn {
namespace {

bool turnsDirection(char16_t c) {
    return (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

/// Whether `QTextDocument`, which screen readers' bridges use too, keeps the character for itself.
bool isReserved(QChar c) {
    return c == QChar::ObjectReplacementCharacter || (c.unicode() >= 0xfdd0 && c.unicode() <= 0xfdef);
}

}  // namespace

QString shownText(std::string_view text) {
    QString shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    shown.removeIf([](QChar c) { return turnsDirection(c.unicode()) || c == QChar::ByteOrderMark; });
    for (QChar& c : shown) {
        if (c.category() == QChar::Other_Control) {
            c = u' ';
        } else if (isReserved(c)) {
            c = QChar::ReplacementCharacter;
        }
    }
    return shown.simplified();
}

QString shownClock(const Utterance& utterance) {
    return QDateTime::fromMSecsSinceEpoch(utterance.saidAt.time_since_epoch().count())
        .time()
        .toString(QStringLiteral("HH:mm:ss"));
}

QString shownGap(const Utterance& utterance) {
    return utterance.kind == Utterance::Kind::untranslated
               ? QString::fromStdString(notTranslatedText(utterance.seconds, AppLanguage::shown()))
               : QString();
}

QString copiedText(const Utterance& utterance) {
    QString copied = shownClock(utterance);
    const QString name = shownText(utterance.sourceName);
    copied += name.isEmpty() ? name : u' ' + name;
    for (const QString& line :
         {shownText(utterance.text), shownText(utterance.translation), shownGap(utterance)}) {
        copied += line.isEmpty() ? line : u'\n' + line;
    }
    return copied + u'\n';
}

}  // namespace tarn
