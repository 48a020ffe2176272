#pragma once

#include <QtQml/qqmlregistration.h>
#include <cstdint>
#include <memory>

#include "TarnApp/views/model/Followers.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// Where the user stands with the permission to use the microphone. Its tasks hold it weakly and end with it.
/// Thread: main.
class MicPermissionRowState : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool granted READ granted NOTIFY changed)
    Q_PROPERTY(bool denied READ denied NOTIFY changed)
    Q_PROPERTY(bool requesting READ requesting NOTIFY changed)

public:
    using ModelFollower::ModelFollower;
    ~MicPermissionRowState() override;

    bool granted() const { return granted_; }
    bool denied() const { return denied_; }          ///< or forbidden by somebody else
    bool requesting() const { return requesting_; }  ///< the user is being asked

    /// The row is seen, maybe again: what was decided elsewhere shows.
    Q_INVOKABLE void appeared();
    /// Has the user asked; nothing happens while they are.
    Q_INVOKABLE void grant();
    /// Opens the desktop's settings and looks, for two minutes, whether they have been changed.
    Q_INVOKABLE void openSettings();

Q_SIGNALS:
    void changed();

private:
    void modelReplaced(TranslateViewModel*) override { appeared(); }
    static Task<void> request(QPointer<MicPermissionRowState> self, Task<bool> question);
    static Task<void> poll(QPointer<MicPermissionRowState> self, std::shared_ptr<Clock> clock,
                           std::uint64_t number);

    void answered(bool allowed);
    bool isDecided(std::uint64_t number);
    AuthorizationStatus status() const;

    bool granted_ = false;
    bool denied_ = false;
    bool requesting_ = false;
    TaskHandle requestTask_;
    TaskHandle pollTask_;
    std::uint64_t pollNumber_ = 0;  ///< of the latest poll
};

}  // namespace tarn
