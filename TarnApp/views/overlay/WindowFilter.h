#pragma once

#include <QtQml/qqmlregistration.h>
#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>

namespace tarn {

/// Base of objects that see a window's events before the window does. Thread: main.
class WindowFilter : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged)

public:
    using QObject::QObject;

    QQuickWindow* window() const { return window_; }
    void setWindow(QQuickWindow* value) {
        if (window_ == value) {
            return;
        }
        if (window_) {
            window_->removeEventFilter(this);
        }
        timer_.stop();
        window_ = value;
        if (value != nullptr) {
            value->installEventFilter(this);
        }
        Q_EMIT windowChanged();
    }

Q_SIGNALS:
    void windowChanged();

protected:
    QBasicTimer timer_;  ///< calls `timerEvent`; stops when the window is replaced

private:
    QPointer<QQuickWindow> window_;
};

}  // namespace tarn
