#pragma once

#include <cstdint>
#include <string_view>

namespace tarn {

/// How far the first run has come.
enum class OnboardingStep : std::uint8_t {
    running,
    ready,  ///< finished once, for good
};

/// As it is stored.
constexpr std::string_view rawValue(OnboardingStep step) {
    return step == OnboardingStep::running ? "running" : "ready";
}

}  // namespace tarn
