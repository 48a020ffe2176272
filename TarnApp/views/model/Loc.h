#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQmlEngine>

#include "TarnApp/localization/LocalizationManager.h"

namespace tarn {

/// The `LocalizationManager` that views read their texts from, as the QML singleton `Loc`. The application,
/// or a test, makes it and names it here before the first view is loaded; it must outlive the engines.
struct Loc {
    Q_GADGET
    QML_FOREIGN(tarn::LocalizationManager)
    QML_SINGLETON
    QML_NAMED_ELEMENT(Loc)

public:
    static inline LocalizationManager* manager = nullptr;

    static LocalizationManager* create(QQmlEngine*, QJSEngine*) {
        QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
        return manager;
    }
};

}  // namespace tarn
