#pragma once

#include <QtQml/qqmlregistration.h>
#include <QString>
#include <cstdint>
#include <memory>

#include "TarnApp/views/model/Followers.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// Where the user stands with the permission to hear what other programs play. Its task holds it weakly and
/// ends with it. Thread: main.
class ScreenRecPermissionRowState : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString phase READ phaseText NOTIFY changed)  ///< "idle", "waiting" or "granted"
    Q_PROPERTY(bool hasAccess READ hasAccess NOTIFY changed)

public:
    enum Phase : std::uint8_t {
        idle,
        waiting,  ///< for the user, in the desktop's settings
        granted,
    };

    using ModelFollower::ModelFollower;
    ~ScreenRecPermissionRowState() override;

    Phase phase() const { return phase_; }
    bool hasAccess() const { return hasAccess_; }  ///< this process, when the phase was last looked at

    // Whether the row is seen: nothing is asked every second while it is not.
    Q_INVOKABLE void appeared();
    Q_INVOKABLE void disappeared();

    /// Asks for access; where that is not enough, opens the desktop's settings and waits.
    Q_INVOKABLE void grant();
    /// Restarts the application, where that can be.
    Q_INVOKABLE void relaunch();

Q_SIGNALS:
    void changed();

private:
    void modelReplaced(TranslateViewModel*) override { appeared(); }
    static Task<void> poll(QPointer<ScreenRecPermissionRowState> self, std::shared_ptr<Clock> clock,
                           std::uint64_t number);

    void startPolling();
    bool isDecided(std::uint64_t number);
    QString phaseText() const;
    bool preflight() const;
    void setPhase(Phase value);

    Phase phase_ = idle;
    bool hasAccess_ = false;
    TaskHandle pollTask_;
    std::uint64_t pollNumber_ = 0;  ///< of the latest poll
};

}  // namespace tarn
