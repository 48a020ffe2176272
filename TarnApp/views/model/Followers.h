#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// Ends `follower`'s connections with what `followed` holds and puts `value` there. False where it is there
/// already.
template <typename Object>
bool replaceFollowed(QPointer<Object>& followed, Object* value, QObject* follower) {
    if (followed == value) {
        return false;
    }
    if (followed) {
        QObject::disconnect(followed, nullptr, follower, nullptr);
    }
    followed = value;
    return true;
}

/// Base of the state of a view that shows the application's state. Thread: main.
class ModelFollower : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(tarn::TranslateViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY viewModelChanged
                   REQUIRED)

public:
    using QObject::QObject;

    TranslateViewModel* viewModel() const { return viewModel_; }  ///< null when it has been destroyed
    void setViewModel(TranslateViewModel* value);

Q_SIGNALS:
    void viewModelChanged();

protected:
    /// Connects to the view model that was just set (null: none); the connections with the one before have
    /// ended.
    virtual void modelReplaced(TranslateViewModel*) {}

private:
    QPointer<TranslateViewModel> viewModel_;
};

/// Base of the state of a view that shows one session. Thread: main.
class SessionFollower : public ModelFollower {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(tarn::TranslateSession* session READ session WRITE setSession NOTIFY sessionChanged REQUIRED)

public:
    using ModelFollower::ModelFollower;

    TranslateSession* session() const { return session_; }  ///< null when it has been destroyed
    void setSession(TranslateSession* value);

Q_SIGNALS:
    void sessionChanged();

protected:
    /// The same for the session.
    virtual void sessionReplaced(TranslateSession*) {}

private:
    QPointer<TranslateSession> session_;
};

}  // namespace tarn
