#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace tarn::bench {

/// Calls `work` with every number below `count`, on `threads` threads, and then `report`, in order and one
/// call at a time. Throws what the first of them threw.
template <typename Work, typename Report>
void inParallel(unsigned threads, std::size_t count, const Work& work, const Report& report) {
    std::atomic<std::size_t> next = 0;
    std::mutex reporting;
    std::vector<bool> done(count);
    std::size_t reported = 0;
    std::vector<std::exception_ptr> failures(threads);
    {
        std::vector<std::jthread> running;
        for (auto& failure : failures) {
            running.emplace_back([&] {
                try {
                    for (std::size_t i = next++; i < count; i = next++) {
                        work(i);
                        const std::lock_guard lock(reporting);
                        done[i] = true;
                        for (; reported < count && done[reported]; ++reported) {
                            report(reported);
                        }
                    }
                } catch (...) {
                    failure = std::current_exception();
                }
            });
        }
    }
    for (const auto& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
}

}  // namespace tarn::bench
