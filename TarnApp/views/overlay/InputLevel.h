#pragma once

#include <QtQml/qqmlregistration.h>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include "TarnApp/session/TranslateSession.h"

namespace tarn {

/// A session's input level as often as a meter can show it, which is half as often as sound comes. Silence at
/// once. Thread: main.
class InputLevel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateSession* session READ session WRITE setSession NOTIFY sessionChanged REQUIRED)
    Q_PROPERTY(float level READ level NOTIFY levelChanged)  ///< linear

public:
    using QObject::QObject;

    TranslateSession* session() const { return session_; }
    void setSession(TranslateSession* value);
    float level() const { return level_; }

Q_SIGNALS:
    void sessionChanged();
    void levelChanged();

private:
    void follow();

    QPointer<TranslateSession> session_;
    float level_ = 0;
    QElapsedTimer sinceChange_;
};

}  // namespace tarn
