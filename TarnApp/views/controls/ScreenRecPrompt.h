#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>

#include "TarnApp/session/TranslateViewModel.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// What the prompt over missing access to others' sound knows and does. While `shown` it looks once a second
/// whether there is access by now: that is `granted`, and a second later it closes. Thread: main.
class ScreenRecPrompt : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel READ viewModel WRITE setViewModel NOTIFY viewModelChanged
                   REQUIRED)
    Q_PROPERTY(bool shown READ isShown WRITE setShown NOTIFY shownChanged)
    Q_PROPERTY(bool granted READ granted NOTIFY grantedChanged)

public:
    using QObject::QObject;
    ~ScreenRecPrompt() override;

    TranslateViewModel* viewModel() const { return viewModel_; }
    void setViewModel(TranslateViewModel* value);
    bool isShown() const { return isShown_; }
    void setShown(bool value);
    bool granted() const { return granted_; }

    Q_INVOKABLE void cancel();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void relaunch();

Q_SIGNALS:
    void viewModelChanged();
    void shownChanged();
    void grantedChanged();

private:
    static Task<void> poll(QPointer<ScreenRecPrompt> weak, SessionServices services);

    void startPolling();
    void setGranted(bool value);

    QPointer<TranslateViewModel> viewModel_;
    bool isShown_ = false;
    bool granted_ = false;
    TaskHandle pollTask_;
};

}  // namespace tarn
