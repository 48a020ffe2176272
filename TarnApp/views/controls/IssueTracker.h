#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// Where users write what they think of the program. Thread: main.
class IssueTracker : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel MEMBER viewModel_ NOTIFY viewModelChanged REQUIRED)

public:
    using QObject::QObject;

    /// In the browser; where this installation has no such page, what is to be read of troubles. A notice
    /// says where nothing could be opened.
    Q_INVOKABLE void open() const;

Q_SIGNALS:
    void viewModelChanged();

private:
    TranslateViewModel* viewModel_ = nullptr;
};

}  // namespace tarn
