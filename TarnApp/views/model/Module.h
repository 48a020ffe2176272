#pragma once

namespace tarn {

/// Makes the QML module Tarn.Model known to engines that are made later. Thread: main.
void registerModelModule();

}  // namespace tarn
