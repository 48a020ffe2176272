#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

namespace tarn::bench {

using SteadyClock = std::chrono::steady_clock;

/// The value below which `part` (0 to 1) of the values lie. Requires: values.
inline double quantile(std::vector<double> values, double part) {
    const auto place = std::lround(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

inline double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

inline double secondsSince(SteadyClock::time_point begin) {
    return std::chrono::duration<double>(SteadyClock::now() - begin).count();
}

/// Processor time of this process (`RUSAGE_SELF`; children are not in it) or thread (`RUSAGE_THREAD`), in
/// seconds.
inline double processorSeconds(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace tarn::bench
