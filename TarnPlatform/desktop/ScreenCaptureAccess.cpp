#include "ScreenCaptureAccess.h"

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {
namespace {

class AudioServerAccess final : public ScreenCaptureAccess {
public:
    bool preflight() override { return AudioServer::shared().reach().has_value(); }
    bool request() override { return preflight(); }
    std::optional<Error> obstacle() override {
        const auto reached = AudioServer::shared().reach();
        return reached ? std::nullopt : std::optional(reached.error());
    }
};

}  // namespace

std::shared_ptr<ScreenCaptureAccess> ScreenCaptureAccess::desktop() {
    return std::make_shared<AudioServerAccess>();
}

}  // namespace tarn
