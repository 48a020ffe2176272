#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace tarn {

/// The languages as the entries of a picker. As the QML singleton `LanguageRows`.
class LanguageRows : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// {value, label, name, note} each: the code, "中文 (zh)", "中文", and what is said of one that is not
    /// among `offered`; that is empty where nobody tells what is offered. With `autoLabel`, an entry of that
    /// name with the empty code comes first.
    Q_INVOKABLE static QVariantList choices(const QString& autoLabel, const QStringList& offered = {});
};

}  // namespace tarn
