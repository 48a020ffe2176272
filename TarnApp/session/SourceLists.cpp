#include "SourceLists.h"

#include <utility>

#include "SoundErrors.h"
#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

Task<std::vector<AudioInputDevice>> listInputs(std::function<std::vector<AudioInputDevice>()> inputs) {
    co_return inputs();
}

Task<bool> mayCapture(std::shared_ptr<ScreenCaptureAccess> access) {
    co_return access->preflight();
}

}  // namespace

SourceLists::SourceLists(const ViewModelServices& services) : services_(services) {
    refreshMicrophones();
    applicationsTask_ = TaskHandle::start(services_.session.main, listFirstApplications(this));
}

SourceLists::~SourceLists() {
    microphonesTask_.cancel();
    applicationsTask_.cancel();
}

void SourceLists::setMicrophones(std::vector<AudioInputDevice> value) {
    microphones_ = std::move(value);
    Q_EMIT microphonesChanged();
}

void SourceLists::refreshMicrophones() {
    microphonesTask_ = TaskHandle::start(services_.session.main, listMicrophones(this));
}

Task<void> SourceLists::listMicrophones(QPointer<SourceLists> weak) {
    if (!weak) {
        co_return;
    }
    auto listing = carryOut(weak->services_.session.workers, listInputs(weak->services_.inputs));
    auto microphones = co_await std::move(listing);
    if (weak) {
        weak->setMicrophones(std::move(microphones));
    }
}

void SourceLists::refreshApplications() {
    if (applications_.empty() && answer_) {
        answer_.reset();
        Q_EMIT applicationsChanged();
    }
    applicationsTask_ =
        TaskHandle::start(services_.session.main, listApplications(this, "[vm] refreshApps failed: "));
}

Task<void> SourceLists::listFirstApplications(QPointer<SourceLists> weak) {
    if (!weak) {
        co_return;
    }
    // The first question sets up the audio server's library, which takes too long for the main thread.
    auto asking =
        carryOut(weak->services_.session.workers, mayCapture(weak->services_.session.screenCapture));
    if (co_await std::move(asking)) {
        co_await listApplications(weak, "[vm] initial refreshApps failed: ");
    }
}

Task<void> SourceLists::listApplications(QPointer<SourceLists> weak, std::string failurePrefix) {
    if (!weak) {
        co_return;
    }
    auto listing = weak->services_.availableApps();
    auto applications = co_await std::move(listing);
    if (!weak) {
        co_return;
    }
    if (applications) {
        weak->applications_ = std::move(*applications);
        weak->answer_ = Result<void>();
    } else {
        logLine(failurePrefix + applications.error().description);
        weak->answer_ = std::unexpected(applications.error());
    }
    Q_EMIT weak->applicationsChanged();
}

QString SourceLists::noApplicationsText() const {
    if (!answer_) {
        return shown(LocKey::appListLoading);
    }
    return *answer_ ? shown(AddedText::noApplicationPlays)
                    : QString::fromStdString(shownCause(answer_->error()));
}

}  // namespace tarn
