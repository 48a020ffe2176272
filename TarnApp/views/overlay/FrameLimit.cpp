#include "FrameLimit.h"

#include <QCoreApplication>
#include <QEvent>
#include <QSGRendererInterface>
#include <QTimerEvent>

namespace tarn {

bool FrameLimit::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::UpdateRequest ||
        window()->rendererInterface()->graphicsApi() != QSGRendererInterface::Software) {
        return false;
    }
    if (timer_.isActive()) {
        return true;
    }
    const qint64 passed = sinceFrame_.isValid() ? sinceFrame_.elapsed() : shortest;
    if (passed < shortest) {
        timer_.start(static_cast<int>(shortest - passed), Qt::PreciseTimer, this);
        return true;
    }
    sinceFrame_.start();
    return false;
}

void FrameLimit::timerEvent(QTimerEvent*) {
    timer_.stop();
    sinceFrame_.invalidate();
    if (window() != nullptr) {
        QEvent due(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(window(), &due);
    }
}

}  // namespace tarn
