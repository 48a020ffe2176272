#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// How a session's state (`TranslateSession.state`) is shown. As the QML singleton `StateLook`.
class StateLook : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    Q_INVOKABLE static QString light(const QString& state);  ///< "grey", "yellow", "green", "orange", "red"
    Q_INVOKABLE static QString labelKey(const QString& state);  ///< of its name in `Loc`
};

}  // namespace tarn
