#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "TarnPlatform/base/PreferredLanguages.h"

namespace tarn {

/// Why a microphone session did not start.
struct MicError {
    /// The input has a rate of 0 or less, or no channel.
    struct InvalidInputFormat {
        double sampleRate = 0;  ///< Hz
        std::uint32_t channels = 0;
        bool operator==(const InvalidInputFormat&) const = default;
    };
    /// The chosen device cannot be captured, or the engine did not start.
    struct EngineFailed {
        std::string message;
        bool operator==(const EngineFailed&) const = default;
    };
    struct PermissionDenied {
        bool operator==(const PermissionDenied&) const = default;
    };

    std::variant<InvalidInputFormat, EngineFailed, PermissionDenied> reason;

    bool operator==(const MicError&) const = default;

    /// For the user, in the environment's language unless another is wanted. Thread: any.
    std::string errorDescription(TextLanguage language = preferredTextLanguage()) const;
};

}  // namespace tarn
