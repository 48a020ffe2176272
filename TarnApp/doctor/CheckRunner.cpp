#include "CheckRunner.h"

#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace tarn {
namespace {

/// Shared by the thread of a check and its waiter, because a thread that hangs outlives the wait.
struct Finding {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, CheckResult> results;
    std::string failure;
    bool isOver = false;
};

std::shared_ptr<Finding> start(const Check& check) {
    auto finding = std::make_shared<Finding>();
    // Nothing can end a thread that hangs, so it is not joined; the process ends without tearing down.
    std::thread([finding, work = check.work] {
        const auto report = [&finding](CheckResult result) {
            const std::lock_guard lock(finding->mutex);
            const auto name = result.name;
            finding->results.insert_or_assign(name, std::move(result));
        };
        std::string failure;
        try {
            work(report);
        } catch (const std::exception& error) {
            failure = error.what();
        }
        const std::lock_guard lock(finding->mutex);
        finding->failure = std::move(failure);
        finding->isOver = true;
        finding->changed.notify_all();
    }).detach();
    return finding;
}

std::string seconds(std::chrono::milliseconds limit) {
    return std::to_string(std::chrono::ceil<std::chrono::seconds>(limit).count());
}

}  // namespace

std::vector<CheckResult> CheckRunner::run(const std::vector<Check>& checks, const Wording& say) {
    const auto begun = std::chrono::steady_clock::now();
    std::vector<std::shared_ptr<Finding>> findings;
    findings.reserve(checks.size());
    for (const auto& check : checks) {
        findings.push_back(start(check));
    }
    std::vector<CheckResult> results;
    for (std::size_t i = 0; i < checks.size(); ++i) {
        auto& finding = *findings[i];
        std::unique_lock lock(finding.mutex);
        finding.changed.wait_until(lock, begun + checks[i].limit, [&finding] { return finding.isOver; });
        for (const auto& name : checks[i].names) {
            if (const auto found = finding.results.find(name); found != finding.results.end()) {
                results.push_back(found->second);
            } else if (finding.isOver) {
                results.push_back({.name = name,
                                   .status = CheckStatus::fault,
                                   .detail = say(DoctorText::checkFailed, {finding.failure})});
            } else {
                results.push_back({.name = name,
                                   .status = CheckStatus::fault,
                                   .detail = say(DoctorText::noAnswerInTime, {seconds(checks[i].limit)}),
                                   .advice = say(DoctorText::noAnswerAdvice)});
            }
        }
    }
    return results;
}

}  // namespace tarn
