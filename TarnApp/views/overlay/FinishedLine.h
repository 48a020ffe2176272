#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>
#include <memory>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// The latest translation of a session that changes no more, for screen readers, which would stumble over
/// every word of one that grows: it is finished when another sentence begins, or when it has not changed for
/// 2 s. Thread: main. Requires: what it is given outlives it.
class FinishedLine : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel MEMBER viewModel_ NOTIFY changed REQUIRED)
    Q_PROPERTY(tarn::TranslateSession* session READ session WRITE setSession NOTIFY changed REQUIRED)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    using QObject::QObject;

    TranslateSession* session() const { return session_; }
    void setSession(TranslateSession* value);
    QString text() const { return text_; }

Q_SIGNALS:
    void changed();
    void textChanged();

private:
    void follow();
    void wait(Clock::Duration time);
    void finish();

    TranslateViewModel* viewModel_ = nullptr;
    QPointer<TranslateSession> session_;
    QString growing_;
    QString text_;
    std::unique_ptr<ScheduledCall> later_;
    Clock::TimePoint finishAt_;
};

}  // namespace tarn
