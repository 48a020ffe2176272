#include "IssueTracker.h"

namespace tarn {

void IssueTracker::open() const {
    if (isKnown()) {
        viewModel_->services().session.urlOpener->open(viewModel_->services().issuesPage->text());
    }
}

}  // namespace tarn
