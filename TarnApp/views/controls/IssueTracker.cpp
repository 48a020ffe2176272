#include "IssueTracker.h"

#include "TarnApp/localization/AddedText.h"

namespace tarn {

void IssueTracker::open() const {
    if (!viewModel_) {
        return;
    }
    const auto& services = viewModel_->services();
    const std::string place = services.issuesPage ? services.issuesPage->text() : services.helpFile.string();
    if (!services.session.urlOpener->open(place)) {
        viewModel_->showToast(shown(AddedText::cannotOpen, {place}));
    }
}

}  // namespace tarn
