#pragma once

#include <QtQml/qqmlregistration.h>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// Where users write what they think of the program. Thread: main.
class IssueTracker : public ModelFollower {
    Q_OBJECT
    QML_ELEMENT

public:
    using ModelFollower::ModelFollower;

    /// In the browser; where this installation has no such page, what is to be read of troubles. A notice
    /// says where nothing could be opened.
    Q_INVOKABLE void open() const;
};

}  // namespace tarn
