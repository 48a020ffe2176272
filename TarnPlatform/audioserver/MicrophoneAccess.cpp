#include "MicrophoneAccess.h"

namespace tarn {
namespace {

class FreeAccess : public MicrophoneAccess {
public:
    AuthorizationStatus status() override { return AuthorizationStatus::authorized; }
    Task<bool> requestAccess() override { co_return true; }
};

}  // namespace

MicrophoneAccess& MicrophoneAccess::system() {
    static FreeAccess access;
    return access;
}

}  // namespace tarn
