#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>

#include "TarnApp/look/SubtitleLook.h"

namespace tarn {

/// How well chosen colours are to be read, as the QML singleton `LookContrast`. Thread: main.
class LookContrast : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// From this on, by WCAG 2.1, text is easy to read.
    static constexpr double enough = 4.5;
    /// Below this much of a background text has its outline.
    static constexpr int leastBackground = 50;

    /// The lesser contrast ratio of both texts, 1 to 21: against `panel`, or the black outline where there is
    /// too little of a panel. Colours that were not chosen are the theme's and count as enough.
    Q_INVOKABLE static double least(const tarn::SubtitleLook* look, const QColor& panel);
    Q_INVOKABLE static bool isEnough(double ratio) { return ratio >= enough; }
};

}  // namespace tarn
