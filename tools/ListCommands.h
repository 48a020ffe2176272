#pragma once

#include "Options.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn::cli {

// What the desktop offers to listen to, one a line: its identifier, a tab, its name.

Task<ExitStatus> listApps();
ExitStatus listDevices();

}  // namespace tarn::cli
