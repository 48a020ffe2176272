#pragma once

#include <memory>
#include <optional>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Whether this program may capture what others play. This desktop asks nobody: it may where the audio server
/// can be reached.
class ScreenCaptureAccess {
public:
    virtual ~ScreenCaptureAccess() = default;

    /// Without asking anybody; returns at once.
    virtual bool preflight() = 0;
    /// Asks the user where the desktop can, and returns at once: whether it is allowed now.
    virtual bool request() = 0;
    /// What is missing where nobody has denied anything; nothing after a denial, and where it is allowed.
    virtual std::optional<Error> obstacle() { return std::nullopt; }

    static std::shared_ptr<ScreenCaptureAccess> desktop();
};

}  // namespace tarn
