#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQmlEngine>

#include "TarnApp/localization/LocalizationManager.h"
#include "TarnApp/look/SubtitleLook.h"
#include "TarnApp/session/TranslateSession.h"
#include "TarnApp/session/TranslateViewModel.h"

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

/// How subtitles look, as the QML singleton `Look`. The application names it as it names `Loc`; where nobody
/// has, it is the window's own design and no choice is kept.
struct Look {
    Q_GADGET
    QML_FOREIGN(tarn::SubtitleLook)
    QML_SINGLETON
    QML_NAMED_ELEMENT(Look)

public:
    static inline SubtitleLook* chosen = nullptr;

    static SubtitleLook* create(QQmlEngine*, QJSEngine*) {
        if (chosen == nullptr) {
            return new SubtitleLook(UserDefaults::inMemory());  // the engine owns it
        }
        QQmlEngine::setObjectOwnership(chosen, QQmlEngine::CppOwnership);
        return chosen;
    }
};

/// The application's state as types that views can name. They are handed the objects and make none.
struct TranslateViewModelType {
    Q_GADGET
    QML_FOREIGN(tarn::TranslateViewModel)
    QML_NAMED_ELEMENT(TranslateViewModel)
    QML_UNCREATABLE("The application makes it.")
};

struct RecordType {
    Q_GADGET
    QML_FOREIGN(tarn::Record)
    QML_NAMED_ELEMENT(Record)
    QML_UNCREATABLE("The view model has it.")
};

struct RecordKeepingType {
    Q_GADGET
    QML_FOREIGN(tarn::RecordKeeping)
    QML_NAMED_ELEMENT(RecordKeeping)
    QML_UNCREATABLE("The view model has it.")
};

struct TranslateSessionType {
    Q_GADGET
    QML_FOREIGN(tarn::TranslateSession)
    QML_NAMED_ELEMENT(TranslateSession)
    QML_UNCREATABLE("The view model makes it.")
};

}  // namespace tarn
