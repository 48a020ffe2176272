#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>
#include <optional>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// A session's input level as often as a meter can show it, which is half as often as sound comes. Silence at
/// once. Thread: main. Requires: what it is given outlives it.
class InputLevel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel MEMBER viewModel_ NOTIFY sessionChanged REQUIRED)
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

    TranslateViewModel* viewModel_ = nullptr;
    QPointer<TranslateSession> session_;
    float level_ = 0;
    std::optional<Clock::TimePoint> nextAt_;  ///< from when on the meter can show another level
};

}  // namespace tarn
