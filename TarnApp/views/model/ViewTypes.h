#pragma once

#include <QtQml/qqml.h>

#include "TarnApp/session/TranslateSession.h"
#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// The application's state as types that views can name. They are handed the objects and make none.
struct TranslateViewModelType {
    Q_GADGET
    QML_FOREIGN(tarn::TranslateViewModel)
    QML_NAMED_ELEMENT(TranslateViewModel)
    QML_UNCREATABLE("The application makes it.")
};

struct TranslateSessionType {
    Q_GADGET
    QML_FOREIGN(tarn::TranslateSession)
    QML_NAMED_ELEMENT(TranslateSession)
    QML_UNCREATABLE("The view model makes it.")
};

}  // namespace tarn
