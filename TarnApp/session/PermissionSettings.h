#pragma once

#include "TarnCore/audio/MicPermission.h"
#include "TarnPlatform/desktop/UrlOpener.h"

namespace tarn {

struct MicDenialHelp {
    /// Opens the desktop's settings at the microphone's permission, where the user has denied it; a
    /// permission that nobody has decided on, or that the user may not give, leads nowhere.
    static void openSettingsIfNeeded(AuthorizationStatus status, UrlOpener& opener) {
        if (status == AuthorizationStatus::denied) {
            opener.open("x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone");
        }
    }
};

struct ScreenRecordingPermission {
    /// Opens the desktop's settings at the permission to record the screen. Where there are none, nothing
    /// happens but the opener's own line in the log. Thread: main.
    static void openSettings(UrlOpener& opener) {
        opener.open("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture");
    }
};

}  // namespace tarn
