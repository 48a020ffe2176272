#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

// moc looks into an included file once only, and that must be where the properties are.
#ifndef Q_MOC_RUN
#include "AddedText.h"
#include "LanguagePreference.h"
#include "LocKey.h"
#endif

namespace tarn {

/// The language of the interface, for all windows. Made once, when the application starts.
///
/// Each key is a property as well, which changes with the language: given to a QML engine under the name Loc
/// this is all that a view needs, and bindings follow a change by themselves:
///
///     text: Loc.start
///     text: Loc.filled(Loc.loginSignedInAs, email)
///     Repeater { model: Loc.choices; RadioButton { text: modelData.label; checked: Loc.language ===
///         modelData.preference; onClicked: Loc.language = modelData.preference } }
///
/// Thread: main.
class LocalizationManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        tarn::LanguagePreference::Value language READ language WRITE setLanguage NOTIFY languageChanged)
    /// For the picker, in its order: {preference, label} each.
    Q_PROPERTY(QVariantList choices READ choices NOTIFY languageChanged)
#define TARN_TEXT(key, english, chinese) Q_PROPERTY(QString key READ key NOTIFY languageChanged)
#include "AddedTexts.h"
#include "HealthTexts.h"
#include "LocTexts.h"
#undef TARN_TEXT

public:
    /// Starts with the stored preference.
    explicit LocalizationManager(QObject* parent = nullptr);

    LanguagePreference language() const { return language_; }
    QVariantList choices() const;
    /// `text` with `argument` in the place of its "%1".
    Q_INVOKABLE static QString filled(const QString& text, const QString& argument);
#define TARN_TEXT(key, english, chinese) \
    QString key() const { return shown(LocKey::key); }
#include "LocTexts.h"
#undef TARN_TEXT
#define TARN_TEXT(key, english, chinese) \
    QString key() const { return shown(AddedText::key); }
#include "AddedTexts.h"
#include "HealthTexts.h"
#undef TARN_TEXT

public Q_SLOTS:
    /// Stores the preference and then announces it, so that whoever hears of it reads the new texts. Nothing
    /// happens where it is the current one.
    void setLanguage(tarn::LanguagePreference::Value preference);

Q_SIGNALS:
    void languageChanged();

private:
    LanguagePreference language_;
};

}  // namespace tarn
