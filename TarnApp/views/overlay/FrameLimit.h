#pragma once

#include <QtQml/qqmlregistration.h>
#include <QElapsedTimer>

#include "WindowFilter.h"

namespace tarn {

/// Lets a window that the processor draws be drawn no more often than every 30 ms, however many texts and
/// levels change meanwhile: each frame costs the same, whether it shows one change or ten. What comes alone
/// is shown at once. Nothing is limited where a graphics processor draws. Thread: main.
class FrameLimit : public WindowFilter {
    Q_OBJECT
    QML_ELEMENT

public:
    static constexpr int shortest = 30;  ///< ms from frame to frame

    using WindowFilter::WindowFilter;

    bool eventFilter(QObject* receiver, QEvent* event) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QElapsedTimer sinceFrame_;
};

}  // namespace tarn
