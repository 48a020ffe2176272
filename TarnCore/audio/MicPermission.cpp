#include "MicPermission.h"

namespace tarn {

AuthorizationStatus MicPermission::status(MicrophoneAccess& access) {
    return access.status();
}

Task<bool> MicPermission::request(MicrophoneAccess& access) {
    switch (access.status()) {
        case AuthorizationStatus::authorized:
            co_return true;
        case AuthorizationStatus::restricted:
        case AuthorizationStatus::denied:
            co_return false;
        case AuthorizationStatus::notDetermined:
            break;
    }
    co_return co_await access.requestAccess();
}

}  // namespace tarn
