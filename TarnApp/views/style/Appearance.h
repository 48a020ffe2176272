#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QQmlEngine>

namespace tarn {

/// What the desktop asks of the look, as the QML singleton `Appearance`. One object for the process; the
/// shell keeps it in step with the desktop. Thread: main.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY changed)
    /// Whether windows can be translucent: a compositor runs.
    Q_PROPERTY(bool translucent READ translucent WRITE setTranslucent NOTIFY changed)
    Q_PROPERTY(bool reducedMotion READ reducedMotion WRITE setReducedMotion NOTIFY changed)
    Q_PROPERTY(bool highContrast READ highContrast WRITE setHighContrast NOTIFY changed)

public:
    static Appearance& shared();
    static Appearance* create(QQmlEngine*, QJSEngine*);

    bool dark() const { return dark_; }
    bool translucent() const { return translucent_; }
    bool reducedMotion() const { return reducedMotion_; }
    bool highContrast() const { return highContrast_; }
    void setDark(bool value);
    void setTranslucent(bool value);
    void setReducedMotion(bool value);
    void setHighContrast(bool value);

Q_SIGNALS:
    void changed();

private:
    Appearance() = default;
    void set(bool& field, bool value);

    bool dark_ = true;
    bool translucent_ = true;
    bool reducedMotion_ = false;
    bool highContrast_ = false;
};

}  // namespace tarn
