#pragma once

#include <QtQml/qqmlregistration.h>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>

namespace tarn {

/// Lets a window that the processor draws be drawn no more often than every 30 ms, however many texts and
/// levels change meanwhile: each frame costs the same, whether it shows one change or ten. What comes alone
/// is shown at once. Nothing is limited where a graphics processor draws. Thread: main.
class FrameLimit : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged)

public:
    static constexpr int shortest = 30;  ///< ms from frame to frame

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
    QElapsedTimer sinceFrame_;
    QBasicTimer later_;
};

}  // namespace tarn
