#pragma once

namespace tarn {

/// Makes the QML module Tarn.Controls known to engines that are made later, and those that it uses. Thread:
/// main.
void registerControlsModule();

}  // namespace tarn
