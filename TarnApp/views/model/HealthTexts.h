#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// What to say of each fault of a session (an entry of `TranslateSession::health`), with %1 for its value, as
/// the QML singleton `HealthTexts`. They follow the language of `Loc`, which is named before. Thread: main.
class HealthTexts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString connectionLost READ connectionLost NOTIFY languageChanged)
    Q_PROPERTY(QString serviceRefuses READ serviceRefuses NOTIFY languageChanged)
    Q_PROPERTY(QString captureEnded READ captureEnded NOTIFY languageChanged)
    Q_PROPERTY(QString soundServerGone READ soundServerGone NOTIFY languageChanged)
    Q_PROPERTY(QString microphoneGone READ microphoneGone NOTIFY languageChanged)
    Q_PROPERTY(QString connectionStalled READ connectionStalled NOTIFY languageChanged)
    Q_PROPERTY(QString connectionSlow READ connectionSlow NOTIFY languageChanged)
    Q_PROPERTY(QString soundLeftOut READ soundLeftOut NOTIFY languageChanged)
    Q_PROPERTY(QString soundManagerGone READ soundManagerGone NOTIFY languageChanged)
    Q_PROPERTY(QString outputGone READ outputGone NOTIFY languageChanged)

public:
    HealthTexts();

#define TARN_SESSION_FAULT(fault, english, chinese) static QString fault();
#include "TarnApp/session/SessionHealthTexts.h"
#undef TARN_SESSION_FAULT

Q_SIGNALS:
    void languageChanged();
};

}  // namespace tarn
