#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <random>

#include "TarnPlatform/base/Clock.h"

namespace tarn {

/// How long to wait before each of several attempts: 0.3, 1, 2, 4 s, then 5 s each, a fifth more or less by
/// chance, so that the clients of a server that comes back do not come all at once. Thread: one executor.
class BackOff {
public:
    static constexpr std::array<std::chrono::milliseconds, 5> steps{
        {std::chrono::milliseconds(300), std::chrono::milliseconds(1000), std::chrono::milliseconds(2000),
         std::chrono::milliseconds(4000), std::chrono::milliseconds(5000)}};
    static constexpr double jitter = 0.2;

    Clock::Duration next() {
        const auto step = steps.at(step_);
        step_ = step_ + 1 < steps.size() ? step_ + 1 : step_;
        const double factor = std::uniform_real_distribution(1 - jitter, 1 + jitter)(random_);
        return std::chrono::duration_cast<Clock::Duration>(step * factor);
    }

    /// An attempt has been a success that lasts, or there is a reason to hope for one.
    void reset() { step_ = 0; }

private:
    std::size_t step_ = 0;
    std::minstd_rand random_{std::random_device()()};
};

}  // namespace tarn
