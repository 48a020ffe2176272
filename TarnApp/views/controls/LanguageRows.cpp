#include "LanguageRows.h"

#include <QVariantMap>

#include "TarnApp/localization/LanguagePreference.h"
#include "TarnApp/session/Languages.h"

namespace tarn {

QVariantList LanguageRows::choices(const QString& autoLabel, const QStringList& offered) {
    const bool inChinese = LanguagePreference::stored().appLanguage() == AppLanguage::zh;
    const QString missing = inChinese ? QStringLiteral("服务器不支持") : QStringLiteral("not on this server");
    QVariantList list;
    if (!autoLabel.isEmpty()) {
        list.append(QVariantMap{{"value", ""}, {"label", autoLabel}, {"note", ""}});
    }
    for (const Language& language : Languages::supported) {
        const QString code = QString::fromStdString(std::string(language.code));
        list.append(QVariantMap{{"value", code},
                                {"label", QString::fromStdString(Languages::row(language))},
                                {"note", offered.isEmpty() || offered.contains(code) ? QString() : missing}});
    }
    return list;
}

}  // namespace tarn
