#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Checks.h"
#include "Wording.h"

namespace tarn {

/// The work of one thread: a few checks that build on one another.
struct Check {
    std::vector<std::string> names;           ///< of the results that it reports, in the order shown
    std::chrono::milliseconds limit;          ///< from the start of all
    std::function<void(const Report&)> work;  ///< may block, for ever at worst
};

/// Runs the checks beside each other, each on a thread, and waits for them.
struct CheckRunner {
    /// Returns one result for each name, in order. A check that has not reported within its limit, or that
    /// throws, is a fault that says so. Its thread, which nothing can end, is left behind with everything
    /// that it uses, so the caller must end the process without tearing anything down.
    static std::vector<CheckResult> run(const std::vector<Check>& checks, const Wording& say);
};

}  // namespace tarn
