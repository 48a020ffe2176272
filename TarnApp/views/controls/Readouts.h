#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// Numbers as the popovers show them, with a decimal point in every locale. As the QML singleton `Readouts`.
class Readouts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    Q_INVOKABLE static QString rate(double value);   ///< "1.3×"
    Q_INVOKABLE static QString scale(double value);  ///< "1.05×"
    Q_INVOKABLE static QString gain(double value);   ///< "150%"
    /// How loud a gain is: "secondary" (no louder than it came), "primary", "orange", "red".
    Q_INVOKABLE static QString gainTone(double value);
    /// Milliseconds as a person typed them, no more than `most`; -1 where that is no number.
    Q_INVOKABLE static int milliseconds(const QString& typed, int most);
    /// On one line, without control characters or what turns the direction of what follows.
    Q_INVOKABLE static QString oneLine(QString text);
};

}  // namespace tarn
