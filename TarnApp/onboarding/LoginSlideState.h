#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QString>
#include <QStringList>

#include "OnboardingCoordinator.h"
#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// What the sign-in page shows. Thread: main.
class LoginSlideState : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::OnboardingCoordinator* coordinator READ coordinator WRITE setCoordinator NOTIFY
                   coordinatorChanged REQUIRED)
    Q_PROPERTY(bool waiting READ waiting NOTIFY waitingChanged)
    Q_PROPERTY(bool showWhy READ showWhy WRITE setShowWhy NOTIFY showWhyChanged)
    Q_PROPERTY(bool isLoggedIn READ isLoggedIn NOTIFY signInChanged)
    /// Ways to sign in that the page in the browser is known to offer: "email", "google", "apple", "github".
    Q_PROPERTY(QStringList providers READ providers NOTIFY viewModelChanged)
    Q_PROPERTY(QString email READ email NOTIFY signInChanged)  ///< empty where it is not known

public:
    using ModelFollower::ModelFollower;

    OnboardingCoordinator* coordinator() const { return coordinator_; }
    void setCoordinator(OnboardingCoordinator* value);
    bool waiting() const { return waiting_; }  ///< the browser has been opened from this page
    bool showWhy() const { return showWhy_; }
    void setShowWhy(bool value);
    bool isLoggedIn() const { return isLoggedIn_; }
    QStringList providers() const;
    QString email() const { return email_; }

    Q_INVOKABLE void signIn();
    Q_INVOKABLE void leave() { setWaiting(false); }  ///< nobody waits for the browser any more

Q_SIGNALS:
    void coordinatorChanged();
    void waitingChanged();
    void showWhyChanged();
    void signInChanged();

private:
    void modelReplaced(TranslateViewModel* model) override;
    void setWaiting(bool value);
    void followSignIn();
    void setEmail(const std::string& email);

    QPointer<OnboardingCoordinator> coordinator_;
    bool waiting_ = false;
    bool showWhy_ = false;
    bool isLoggedIn_ = false;
    QString email_;
};

}  // namespace tarn
