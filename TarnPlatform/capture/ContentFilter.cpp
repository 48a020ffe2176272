#include "ContentFilter.h"

#include <algorithm>

namespace tarn {

bool ContentFilter::accepts(const RunningApplication& application) const {
    const auto isMeant = [&](const RunningApplication& listed) {
        return listed.bundleIdentifier == application.bundleIdentifier &&
               (includes_ || listed.processID == 0 || application.processID == 0 ||
                listed.processID == application.processID);
    };
    return std::ranges::any_of(applications_, isMeant) == includes_;
}

}  // namespace tarn
