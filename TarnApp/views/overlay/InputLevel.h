#pragma once

#include <QtQml/qqmlregistration.h>
#include <optional>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// The input level of a session, at most as often as a meter can show it, which is half as often as sound
/// arrives. Silence is passed on at once. Thread: main.
class InputLevel : public SessionFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(float level READ level NOTIFY levelChanged)  ///< linear

public:
    using SessionFollower::SessionFollower;

    float level() const { return level_; }

Q_SIGNALS:
    void levelChanged();

private:
    void sessionReplaced(TranslateSession* session) override;
    void follow();

    float level_ = 0;
    std::optional<Clock::TimePoint> nextAt_;  ///< before this no new level is passed on
};

}  // namespace tarn
