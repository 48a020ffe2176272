#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQmlEngine>

#include "TarnApp/elsewhere/SubtitlesElsewhere.h"

namespace tarn {

struct SubtitlesElsewhereType {
    Q_GADGET
    QML_FOREIGN(tarn::SubtitlesElsewhere)
    QML_NAMED_ELEMENT(SubtitlesElsewhere)
    QML_UNCREATABLE("The application makes it.")
};

}  // namespace tarn
