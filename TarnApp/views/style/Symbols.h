#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace tarn {

/// The interface's symbols by name, as glyphs of one font (Material Icons, Apache-2.0), which is part of the
/// program. As the QML singleton `Symbols`.
class Symbols : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)

public:
    static QString family();
    /// One character of that font; empty for a name that is none of ours.
    Q_INVOKABLE static QString glyph(const QString& name);
};

}  // namespace tarn
