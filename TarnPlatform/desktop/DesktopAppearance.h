#pragma once

#include <QObject>
#include <memory>

#include "AppearanceFacts.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn {

class AppearanceWatcher;
class BusThread;

/// The look that the user has chosen for the desktop: dark or light, high contrast, and whether things may
/// move. From the desktop's portal, its settings, those of GTK, or else the palette that Qt has found.
///
/// Nothing waits for the desktop: until it has answered, the palette's word counts. Thread: main.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    /// `bus` must outlive this.
    DesktopAppearance(BusThread& bus, SerialExecutor main, QObject* parent = nullptr);
    ~DesktopAppearance() override;

    bool isDark() const { return isDark_; }
    bool reducedMotion() const { return reducedMotion_; }
    bool highContrast() const { return highContrast_; }

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void settle();

    AppearanceFacts facts_;
    bool isDark_;
    bool reducedMotion_ = false;
    bool highContrast_ = false;
    std::unique_ptr<AppearanceWatcher> watcher_;
};

}  // namespace tarn
