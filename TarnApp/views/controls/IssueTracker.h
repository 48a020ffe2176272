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
    Q_PROPERTY(bool known READ isKnown NOTIFY viewModelChanged)  ///< this installation has one

public:
    using QObject::QObject;

    bool isKnown() const { return viewModel_ && viewModel_->services().issuesPage; }
    Q_INVOKABLE void open() const;  ///< in the browser

Q_SIGNALS:
    void viewModelChanged();

private:
    TranslateViewModel* viewModel_ = nullptr;
};

}  // namespace tarn
