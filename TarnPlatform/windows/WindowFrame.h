#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <memory>
#include <string>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/settings/UserDefaults.h"

class QWindow;

namespace tarn {

/// Remembers a window's place and size between runs, under "window.<name>.frame" of the user's settings. A
/// window whose screen is gone comes back on one that is there, at once where it is seen; at another scale of
/// its screen it keeps its size in points.
///
/// Thread: main.
class WindowFrame : public QObject {
    Q_OBJECT

public:
    /// From the last change of a frame to its being remembered.
    static constexpr std::chrono::milliseconds delay{400};

    WindowFrame(std::string name, std::shared_ptr<UserDefaults> defaults, SerialExecutor main,
                std::shared_ptr<Clock> clock, QObject* parent = nullptr);
    /// Remembers what is not remembered yet.
    ~WindowFrame() override;

    /// Gives the window the frame that it had, or the middle of its screen where none is remembered, and
    /// follows it from now on. The same window again: nothing. Best before the window is shown.
    void attach(QWindow* window);
    /// Remembers now what would be remembered soon.
    void flush();

private:
    void later();
    void place(QRect frame);
    void followScreens();
    void screensChanged();

    const std::string key_;
    const std::shared_ptr<UserDefaults> defaults_;
    const SerialExecutor main_;
    const std::shared_ptr<Clock> clock_;
    QPointer<QWindow> window_;
    QRect frame_;  ///< the last one seen
    std::unique_ptr<ScheduledCall> call_;
};

}  // namespace tarn
