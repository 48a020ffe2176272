#include "ListCommands.h"

#include <iostream>
#include <string>

#include "TarnCore/audio/AudioApps.h"
#include "TarnCore/audio/AudioDevices.h"
#include "TarnPlatform/audioserver/AudioHardware.h"
#include "TarnPlatform/base/Text.h"

namespace tarn::cli {
namespace {

void list(const std::string& identifier, const std::string& name, const char* remark = "") {
    std::cout << printable(identifier) << '\t' << printable(name) << remark << '\n';
}

}  // namespace

Task<ExitStatus> listApps() {
    const auto apps = co_await availableAudioApps();
    if (!apps) {
        complain("the applications cannot be listed: " + apps.error().description);
        co_return ExitStatus::failed;
    }
    if (apps->empty()) {
        complain("no application plays or is ready to");
    }
    for (const AudioCapableApp& app : *apps) {
        list(app.bundleID, app.name);
    }
    co_return ExitStatus::ended;
}

ExitStatus listDevices() {
    // The list cannot tell an error from an empty list, so the audio server is asked first.
    if (const auto read = AudioHardware::system().read(); !read) {
        complain("the microphones cannot be listed: " + read.error().description);
        return ExitStatus::failed;
    }
    const auto devices = AudioDevices::inputs();
    const auto standard = AudioDevices::defaultInput();
    if (devices.empty()) {
        complain("there is no microphone");
    }
    for (const AudioInputDevice& device : devices) {
        list(device.id, device.name, standard && standard->id == device.id ? "\t(default)" : "");
    }
    return ExitStatus::ended;
}

}  // namespace tarn::cli
