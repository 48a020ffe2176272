#include "LocalizationManager.h"

#include <QVariantMap>

#include "TarnPlatform/base/Text.h"

namespace tarn {
LocalizationManager::LocalizationManager(QObject* parent)
    : QObject(parent), language_(LanguagePreference::stored()) {}

QVariantList LocalizationManager::choices() const {
    QVariantList list;
    for (const LanguagePreference preference : LanguagePreference::all) {
        list.append(
            QVariantMap{{"preference", static_cast<int>(preference)}, {"label", shown(preference.label())}});
    }
    return list;
}

QString LocalizationManager::filled(const QString& text, const QString& argument) {
    return QString::fromStdString(filledText(text.toStdString(), {argument.toStdString()}));
}

void LocalizationManager::setLanguage(LanguagePreference::Value preference) {
    if (preference == language_) {
        return;
    }
    UserDefaults::standard()->set(LanguagePreference::storageKey, LanguagePreference(preference).rawValue());
    language_ = preference;
    Q_EMIT languageChanged();
}

}  // namespace tarn
