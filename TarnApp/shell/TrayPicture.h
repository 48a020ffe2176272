#pragma once

#include <vector>

#include "TarnPlatform/desktop/TrayIcon.h"

namespace tarn {

/// The program's icon in the sizes that trays use; with a light in the corner while something runs.
/// Painted once. Thread: main.
const std::vector<TrayPicture>& trayPictures(bool isRunning);

}  // namespace tarn
