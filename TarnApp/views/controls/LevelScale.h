#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// How a linear level is shown on a scale of 80 dB. As the QML singleton `LevelScale`.
class LevelScale : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// The share of the meter that is filled: 0 at -80 dB and below, 1 at full scale and above.
    Q_INVOKABLE static double fraction(float level);
    /// The light to fill it with: "green", "yellow" or "red".
    Q_INVOKABLE static QString light(float level);
};

}  // namespace tarn
