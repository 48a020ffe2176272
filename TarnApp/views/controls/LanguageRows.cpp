#include "LanguageRows.h"

#include <QVariantMap>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/session/Languages.h"

namespace tarn {

namespace {

/// The row with the name before the code also where the name is written from right to left. The marks are
/// those of the Unicode bidirectional algorithm.
QString shownRow(const Language& language) {
    const QString row = QString::fromStdString(Languages::row(language));
    const QString name = QString::fromUtf8(language.label);
    constexpr char16_t fromTheLeft = 0x200e;
    constexpr char16_t isolated = 0x2068;
    constexpr char16_t isolatedEnd = 0x2069;
    return name.isRightToLeft()
               ? QChar(fromTheLeft) + (QChar(isolated) + name) + QChar(isolatedEnd) + row.mid(name.size())
               : row;
}

}  // namespace

QVariantList LanguageRows::choices(const QString& autoLabel, const QStringList& offered) {
    const QString missing = shown(AddedText::languageMissing);
    QVariantList list;
    if (!autoLabel.isEmpty()) {
        list.append(QVariantMap{{"value", ""}, {"label", autoLabel}, {"name", autoLabel}, {"note", ""}});
    }
    for (const Language& language : Languages::supported) {
        const QString code = QString::fromStdString(std::string(language.code));
        list.append(QVariantMap{{"value", code},
                                {"label", shownRow(language)},
                                {"name", QString::fromUtf8(language.label)},
                                {"note", offered.isEmpty() || offered.contains(code) ? QString() : missing}});
    }
    return list;
}

}  // namespace tarn
