#pragma once

#include <QtQml/qqmlregistration.h>
#include <QBasicTimer>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QQuickWindow>

namespace tarn {

/// Moves the pointer to where it is, once a minute, while it rests over a window. Qt Quick 6.4 notes every
/// pointer handler below a resting pointer again for each frame that is drawn, and forgets them only when the
/// pointer moves: under subtitles that is a megabyte in half an hour. Thread: main.
class PointerRest : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged)

public:
    using QObject::QObject;

    QQuickWindow* window() const { return window_; }
    void setWindow(QQuickWindow* value);
    bool eventFilter(QObject* receiver, QEvent* event) override;

Q_SIGNALS:
    void windowChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QPointer<QQuickWindow> window_;
    QBasicTimer timer_;  ///< runs while the pointer is over the window and no button is down
    QPointF position_;
    QPointF globalPosition_;
};

}  // namespace tarn
