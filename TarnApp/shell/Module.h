#pragma once

namespace tarn {

/// Makes the QML module Tarn.Shell known to engines that are made later. Thread: main.
void registerShellModule();

}  // namespace tarn
