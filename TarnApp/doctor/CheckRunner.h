#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "CheckResult.h"
#include "Wording.h"

namespace tarn {

/// One thread's work: a few checks that build on one another.
struct Check {
    std::vector<std::string> names;           ///< of the results that it reports, in the order shown
    std::chrono::milliseconds limit;          ///< from the start of all
    std::function<void(const Report&)> work;  ///< may block, for ever at worst
};

/// Runs the checks beside each other, each on a thread, and waits for them.
struct CheckRunner {
    /// One result for each name, in order. What was not reported within its limit is a fault that says so;
    /// its thread, which nothing can end, is left behind, and what it uses must stay: whoever calls this ends
    /// the process without tearing anything down. What a work throws is a fault as well.
    static std::vector<CheckResult> run(const std::vector<Check>& checks, const Wording& say);
};

}  // namespace tarn
