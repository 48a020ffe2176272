#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QQuickItem>
#include <QStringList>
#include <optional>

namespace tarn {

/// Where a key leads in a menu of these labels, from the one at `current`: up and down around the ends, Home
/// and End, and a typed letter to the next entry that begins with it or, failing that, has a word that does.
/// Nothing for any other key. An empty label is a row that cannot be chosen.
std::optional<qsizetype> menuTarget(const QStringList& labels, qsizetype current, int key,
                                    const QString& typed);

/// The same among the rows of a menu on the screen, as the QML singleton `MenuWalk`.
class MenuWalk : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Moves the keys from `row` to a sibling of its; false where the key leads nowhere.
    Q_INVOKABLE static bool step(QQuickItem* row, int key, const QString& typed);
};

}  // namespace tarn
