#include "LanguageRows.h"

#include <QVariantMap>

#include "TarnApp/session/Languages.h"

namespace tarn {

QVariantList LanguageRows::choices(const QString& autoLabel) {
    QVariantList list;
    if (!autoLabel.isEmpty()) {
        list.append(QVariantMap{{"value", ""}, {"label", autoLabel}});
    }
    for (const Language& language : Languages::supported) {
        list.append(QVariantMap{{"value", QString::fromStdString(std::string(language.code))},
                                {"label", QString::fromStdString(Languages::row(language))}});
    }
    return list;
}

}  // namespace tarn
