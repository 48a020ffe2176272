#pragma once

namespace tarn {

/// Makes the QML module Tarn.Style known to engines that are made later. Thread: main.
void registerStyleModule();

}  // namespace tarn
