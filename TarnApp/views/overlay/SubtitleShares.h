#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <algorithm>

namespace tarn {

/// How two texts share the height of a pane, for views as the singleton `SubtitleShares`. Points.
class SubtitleShares : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// The most that the source text takes where it cannot have all of its height.
    static constexpr double leastPart = 0.4;

    /// What the source text gets of `room`, without the distance between both texts, which want `source` and
    /// `translation`: all it wants where that leaves enough, else what the translation leaves, and 0.4 at
    /// least.
    Q_INVOKABLE static double ofSource(double room, double source, double translation) {
        return std::max(std::min(source, std::max(room * leastPart, room - translation)), 0.0);
    }
};

}  // namespace tarn
