#include "PointerRest.h"

#include <QCoreApplication>
#include <QMouseEvent>

namespace tarn {
namespace {

constexpr int movesEvery = 60'000;  // ms

}  // namespace

bool PointerRest::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::Enter:
        case QEvent::MouseMove: {
            const auto& pointer = *static_cast<QSinglePointEvent*>(event);
            position_ = pointer.position();
            globalPosition_ = pointer.globalPosition();
            if (pointer.buttons() == Qt::NoButton) {
                timer_.start(movesEvery, this);
            }
            break;
        }
        case QEvent::MouseButtonPress:
        case QEvent::Leave:
        case QEvent::Hide:
            timer_.stop();
            break;
        default:
            break;
    }
    return false;
}

void PointerRest::timerEvent(QTimerEvent*) {
    QMouseEvent move(QEvent::MouseMove, position_, globalPosition_, Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(window(), &move);
}

}  // namespace tarn
