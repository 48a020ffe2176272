#pragma once

#include <QtQml/qqmlregistration.h>
#include <memory>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// The latest translation of a session that changes no more, for screen readers, which would stumble over
/// every word of one that grows: it is finished when another sentence begins, or when it has not changed for
/// 2 s. Thread: main. Requires: the view model outlives it.
class FinishedLine : public SessionFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    using SessionFollower::SessionFollower;

    QString text() const { return text_; }

Q_SIGNALS:
    void textChanged();

private:
    void sessionReplaced(TranslateSession* session) override;
    void follow();
    void wait(Clock::Duration time);
    void finish();

    QString growing_;
    QString text_;
    std::unique_ptr<ScheduledCall> later_;
    Clock::TimePoint finishAt_;
};

}  // namespace tarn
