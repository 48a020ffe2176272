#pragma once

#include <string>
#include <vector>

#include "Checks.h"
#include "Wording.h"

namespace tarn {

/// The results as text. They are good unless one of them is a fault.
struct DoctorReport {
    static bool isGood(const std::vector<CheckResult>& results);

    /// A line for each, in columns, then what to do. Ends with a line break.
    static std::string asText(const std::vector<CheckResult>& results, const Wording& say);

    /// {"checks":[{"name","status","detail","advice"}],"ok":bool} and a line break. Names and states are the
    /// same in every language.
    static std::string asJson(const std::vector<CheckResult>& results);
};

}  // namespace tarn
