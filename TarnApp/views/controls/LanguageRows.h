#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QVariantList>

namespace tarn {

/// The languages as the entries of a picker. As the QML singleton `LanguageRows`.
class LanguageRows : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// {value, label} each: the code, and "中文 (zh)". With `autoLabel`, an entry of that name with the empty
    /// code comes first.
    Q_INVOKABLE static QVariantList choices(const QString& autoLabel);
};

}  // namespace tarn
