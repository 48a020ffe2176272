#pragma once

namespace tarn {

/// Makes the QML module Tarn.Overlay known to engines that are made later, and those that it uses. Thread:
/// main.
void registerOverlayModule();

}  // namespace tarn
