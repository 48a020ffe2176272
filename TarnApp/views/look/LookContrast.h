#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QString>

namespace tarn {

/// How well chosen colours are to be read, as the QML singleton `LookContrast`. Thread: main.
class LookContrast : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// From this on, by WCAG 2.1, text is easy to read.
    static constexpr double enough = 4.5;

    /// The contrast ratio of a text's colour against what is `behind` it, 1 to 21. A colour that was not
    /// chosen (empty) is the theme's and counts as 21.
    Q_INVOKABLE static double of(const QString& color, const QColor& behind);
    Q_INVOKABLE static bool isEnough(double ratio) { return ratio >= enough; }
};

}  // namespace tarn
