#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointF>

#include "WindowFilter.h"

namespace tarn {

/// Moves the pointer to where it is, once a minute, while it rests over a window. Qt Quick 6.4 notes every
/// pointer handler below a resting pointer again for each frame that is drawn, and forgets them only when the
/// pointer moves: under subtitles that is a megabyte in half an hour. Thread: main.
class PointerRest : public WindowFilter {
    Q_OBJECT
    QML_ELEMENT

public:
    using WindowFilter::WindowFilter;

    bool eventFilter(QObject* receiver, QEvent* event) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QPointF position_;
    QPointF globalPosition_;
};

}  // namespace tarn
