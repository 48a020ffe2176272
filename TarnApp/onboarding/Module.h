#pragma once

namespace tarn {

/// Makes the QML module Tarn.Onboarding known to engines that are made later, and those that it uses. Thread:
/// main.
void registerOnboardingModule();

}  // namespace tarn
