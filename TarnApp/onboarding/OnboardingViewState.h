#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>

#include "OnboardingCoordinator.h"

namespace tarn {

/// Which page the onboarding view shows. Thread: main.
class OnboardingViewState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::OnboardingCoordinator* coordinator READ coordinator WRITE setCoordinator NOTIFY
                   coordinatorChanged REQUIRED)
    Q_PROPERTY(int page READ page NOTIFY pageChanged)
    Q_PROPERTY(int lastPage MEMBER lastPage CONSTANT)

public:
    using QObject::QObject;

    static constexpr int lastPage = 3;

    OnboardingCoordinator* coordinator() const { return coordinator_; }
    void setCoordinator(OnboardingCoordinator* value);
    int page() const { return page_; }

    Q_INVOKABLE void back();
    Q_INVOKABLE void next();
    Q_INVOKABLE void finish();

    // Whether the user can see the view; a window that is used again appears several times.
    Q_INVOKABLE void appeared();
    Q_INVOKABLE void disappeared();

Q_SIGNALS:
    void coordinatorChanged();
    void pageChanged();

private:
    void followReopening();
    void setPage(int value);

    QPointer<OnboardingCoordinator> coordinator_;
    int page_ = 0;
    bool isShown_ = false;
};

}  // namespace tarn
