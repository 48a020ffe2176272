#pragma once

#include <QtQml/qqmlregistration.h>

#include "TarnApp/views/model/Followers.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// What the prompt over missing access to others' sound knows and does. While `shown` it looks once a second
/// whether there is access by now: that is `granted`, and a second later it closes. Thread: main.
class ScreenRecPrompt : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool shown READ isShown WRITE setShown NOTIFY shownChanged)
    Q_PROPERTY(bool granted READ granted NOTIFY grantedChanged)

public:
    using ModelFollower::ModelFollower;
    ~ScreenRecPrompt() override;

    bool isShown() const { return isShown_; }
    void setShown(bool value);
    bool granted() const { return granted_; }

    Q_INVOKABLE void cancel();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void relaunch();

Q_SIGNALS:
    void shownChanged();
    void grantedChanged();

private:
    void modelReplaced(TranslateViewModel*) override { startPolling(); }
    static Task<void> poll(QPointer<ScreenRecPrompt> weak, SessionServices services);

    void startPolling();
    void setGranted(bool value);

    bool isShown_ = false;
    bool granted_ = false;
    TaskHandle pollTask_;
};

}  // namespace tarn
