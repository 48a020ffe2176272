#pragma once

#include <QIcon>
#include <vector>

#include "TarnPlatform/desktop/TrayIcon.h"

namespace tarn {

/// The program's icon in the sizes that trays use; with a light in the corner while something runs.
/// Painted once. Thread: main.
const std::vector<TrayPicture>& trayPictures(bool isRunning);

/// The same for windows, in the sizes of title bars and of lists of windows.
QIcon windowIcon();

}  // namespace tarn
