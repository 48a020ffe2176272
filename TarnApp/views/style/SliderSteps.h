#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QVariant>

namespace tarn {

/// The step of a slider that is nearest to `value`, without what adding up fractions leaves in the last
/// digits: 0.6 and eight steps of 0.05 are 1 exactly.
double nearestStep(double value, double from, double to, double step);

/// What a slider in QML needs of C++, as the singleton `SliderSteps`.
class SliderSteps : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    Q_INVOKABLE static double nearest(double value, double from, double to, double step) {
        return nearestStep(value, from, to, step);
    }
    /// Sets `slider`'s value as its own keys do, which leaves the binding of its value in place; a script's
    /// assignment would end it.
    Q_INVOKABLE static void move(QObject* slider, double value) { slider->setProperty("value", value); }
};

}  // namespace tarn
