#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "SessionServices.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// The microphones and the applications that a session can capture, as they were when they were listed last.
/// Thread: main.
class SourceLists : public QObject {
    Q_OBJECT

public:
    /// Starts to list both. Requires: `services` outlives it.
    explicit SourceLists(const ViewModelServices& services);
    ~SourceLists() override;

    const std::vector<AudioInputDevice>& microphones() const { return microphones_; }
    void setMicrophones(std::vector<AudioInputDevice> value);
    void refreshMicrophones();

    const std::vector<AudioCapableApp>& applications() const { return applications_; }
    void refreshApplications();
    /// The text in the place of an empty list of applications: that they are being listed, that none plays,
    /// or why they could not be listed.
    QString noApplicationsText() const;

Q_SIGNALS:
    void microphonesChanged();
    void applicationsChanged();

private:
    static Task<void> listMicrophones(QPointer<SourceLists> weak);
    static Task<void> listFirstApplications(QPointer<SourceLists> weak);
    static Task<void> listApplications(QPointer<SourceLists> weak, std::string failurePrefix);

    const ViewModelServices& services_;
    std::vector<AudioInputDevice> microphones_;
    std::vector<AudioCapableApp> applications_;
    std::optional<Result<void>> answer_;  ///< of the latest listing of applications; empty until it has come
    TaskHandle microphonesTask_;
    TaskHandle applicationsTask_;
};

}  // namespace tarn
