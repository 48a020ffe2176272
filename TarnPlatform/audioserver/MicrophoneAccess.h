#pragma once

#include "TarnPlatform/base/Asio.h"

namespace tarn {

enum class AuthorizationStatus : int {
    notDetermined = 0,
    restricted = 1,
    denied = 2,
    authorized = 3,
};

/// Whether the user lets this program hear the microphone. An interface so that a system that asks, or
/// refuses, can stand in.
class MicrophoneAccess {
public:
    virtual ~MicrophoneAccess() = default;

    /// Thread: any.
    virtual AuthorizationStatus status() = 0;

    /// Lets the user be asked and waits for the answer. Thread: any.
    virtual Task<bool> requestAccess() = 0;

    /// The desktop's own, which has no such permission: authorised. Lives as long as the process.
    static MicrophoneAccess& system();
};

}  // namespace tarn
