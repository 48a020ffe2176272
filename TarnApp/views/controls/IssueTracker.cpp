#include "IssueTracker.h"

#include "TarnApp/localization/AddedText.h"

namespace tarn {

void IssueTracker::open() const {
    if (!viewModel()) {
        return;
    }
    const auto& services = viewModel()->services();
    const std::string place = services.issuesPage ? services.issuesPage->text() : services.helpFile.string();
    if (!services.session.urlOpener->open(place)) {
        viewModel()->showToast(shown(AddedText::cannotOpen, {place}));
    }
}

}  // namespace tarn
