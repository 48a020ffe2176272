#include "FrameLimit.h"

#include <QCoreApplication>
#include <QEvent>
#include <QSGRendererInterface>
#include <QTimerEvent>

namespace tarn {

void FrameLimit::setWindow(QQuickWindow* value) {
    if (window_ == value) {
        return;
    }
    if (window_ != nullptr) {
        window_->removeEventFilter(this);
    }
    window_ = value;
    if (value != nullptr && value->rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        value->installEventFilter(this);
    }
    Q_EMIT windowChanged();
}

bool FrameLimit::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::UpdateRequest) {
        return false;
    }
    if (later_.isActive()) {
        return true;
    }
    const qint64 passed = sinceFrame_.isValid() ? sinceFrame_.elapsed() : shortest;
    if (passed < shortest) {
        later_.start(static_cast<int>(shortest - passed), Qt::PreciseTimer, this);
        return true;
    }
    sinceFrame_.start();
    return false;
}

void FrameLimit::timerEvent(QTimerEvent*) {
    later_.stop();
    sinceFrame_.invalidate();
    if (window_ != nullptr) {
        QEvent due(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(window_, &due);
    }
}

}  // namespace tarn
