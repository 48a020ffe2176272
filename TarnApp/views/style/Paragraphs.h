#pragma once

#include <QtQml/qqmlregistration.h>
#include <QFont>
#include <QObject>
#include <QString>

namespace tarn {

/// How paragraphs are laid out, as the QML singleton `Paragraphs`. Thread: main.
class Paragraphs : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// The width in which `text` has no more lines than in `room`, and no line of one character at its end:
    /// the least one. In points.
    Q_INVOKABLE static qreal balancedWidth(const QString& text, const QFont& font, qreal room);
};

}  // namespace tarn
