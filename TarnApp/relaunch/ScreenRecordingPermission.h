#pragma once

#include "TarnPlatform/desktop/UrlOpener.h"

namespace tarn {

struct ScreenRecordingPermission {
    /// Opens the desktop's settings at the permission to record the screen. Where there are none, nothing
    /// happens but the opener's own line in the log. Thread: main.
    static void openSettings(UrlOpener& opener);
};

}  // namespace tarn
