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

}  // namespace tarn
