#pragma once

#include "TarnPlatform/audioserver/MicrophoneAccess.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn {

/// The user's permission to use the microphone. Thread: any.
class MicPermission {
public:
    MicPermission() = delete;

    static AuthorizationStatus status(MicrophoneAccess& access = MicrophoneAccess::system());

    /// Asks where it has not been decided and waits for the answer; whether access is granted. Never fails.
    /// Requires: `access` lives until the end.
    static Task<bool> request(MicrophoneAccess& access = MicrophoneAccess::system());
};

}  // namespace tarn
