#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// The texts that only the onboarding pages show, as the QML singleton `OnboardingTexts`. They follow the
/// language of `Loc`, which is named before the first page is loaded. Thread: main.
class OnboardingTexts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString loginTitle READ loginTitle NOTIFY languageChanged)
    Q_PROPERTY(QString loginButton READ loginButton NOTIFY languageChanged)
    Q_PROPERTY(QString loginWhyBody READ loginWhyBody NOTIFY languageChanged)
    Q_PROPERTY(QString pageOf READ pageOf NOTIFY languageChanged)

public:
    OnboardingTexts();

#define TARN_ONBOARDING_TEXT(key, english, chinese) static QString key();
#include "OnboardingTextTable.h"
#undef TARN_ONBOARDING_TEXT

Q_SIGNALS:
    void languageChanged();
};

}  // namespace tarn
