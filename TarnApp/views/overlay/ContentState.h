#pragma once

#include <QtQml/qqmlregistration.h>
#include <vector>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// What of the main window is seen, by the pointer's place, the mode and what runs. Thread: main. Requires:
/// the view model outlives it.
class ContentState : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT
    /// A popover of the window is open, and the pointer probably in it: the control that it belongs to must
    /// not fade or go away meanwhile. That the pointer has left counts once this is false again.
    Q_PROPERTY(bool popoverOpen READ isPopoverOpen WRITE setPopoverOpen NOTIFY changed)
    Q_PROPERTY(bool hovering READ hovering NOTIFY changed)
    Q_PROPERTY(bool hasLeftSinceMiniToggle READ hasLeftSinceMiniToggle NOTIFY changed)
    Q_PROPERTY(double backgroundOpacity READ backgroundOpacity NOTIFY changed)
    Q_PROPERTY(bool showChromeAndDividers READ showChromeAndDividers NOTIFY changed)
    Q_PROPERTY(double chromeOpacity READ chromeOpacity NOTIFY changed)
    Q_PROPERTY(double headerOpacity READ headerOpacity NOTIFY changed)  ///< of a session's own controls
    Q_PROPERTY(int conversationMinWidth READ conversationMinWidth NOTIFY changed)  ///< points
    Q_PROPERTY(bool startDisabled READ startDisabled NOTIFY changed)
    Q_PROPERTY(bool isConnecting READ isConnecting NOTIFY changed)

public:
    using ModelFollower::ModelFollower;
    ~ContentState() override { dimTask_.cancel(); }

    bool isPopoverOpen() const { return isPopoverOpen_; }
    void setPopoverOpen(bool value);

    bool hovering() const { return hovering_; }  ///< stays true for 3 s after the pointer has left
    bool hasLeftSinceMiniToggle() const { return hasLeftSinceMiniToggle_; }
    double backgroundOpacity() const { return showChromeAndDividers() ? 1 : 0; }
    bool showChromeAndDividers() const;
    double chromeOpacity() const;
    double headerOpacity() const;
    int conversationMinWidth() const;
    bool startDisabled() const;
    bool isConnecting() const;

    Q_INVOKABLE void pointerEntered();
    Q_INVOKABLE void pointerLeft();
    Q_INVOKABLE void appeared();  ///< the view is seen for the first time

Q_SIGNALS:
    void changed();

private:
    void modelReplaced(TranslateViewModel* model) override;
    static Task<void> dim(QPointer<ContentState> weak, std::shared_ptr<Clock> clock, std::uint64_t number);

    void leave();
    void cancelDim();
    void setHovering(bool value);
    void miniModeChanged();
    void followSessions();

    bool hovering_ = false;
    bool hasLeftSinceMiniToggle_ = false;
    bool isPopoverOpen_ = false;
    bool leftForPopover_ = false;
    bool wasMini_ = false;
    TaskHandle dimTask_;
    std::uint64_t dimNumber_ = 0;  ///< of the latest timer; one that was over is not cancelled any more
    std::vector<QMetaObject::Connection> sessionConnections_;
};

}  // namespace tarn
