#include "ScreenRecordingPermission.h"

namespace tarn {

void ScreenRecordingPermission::openSettings(UrlOpener& opener) {
    opener.open("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture");
}

}  // namespace tarn
