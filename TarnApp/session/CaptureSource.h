#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tarn {

/// Where a session's sound comes from.
enum class CaptureSource : unsigned char {
    system,       ///< all that the computer plays, but for this application
    mic,          ///< a microphone
    application,  ///< what one application plays
};

inline constexpr std::array allCaptureSources{CaptureSource::system, CaptureSource::mic,
                                              CaptureSource::application};

constexpr std::string_view rawValue(CaptureSource source) {
    switch (source) {
        case CaptureSource::system:
            return "system";
        case CaptureSource::mic:
            return "mic";
        case CaptureSource::application:
            break;
    }
    return "application";
}

/// Nothing for any other text; letter case counts.
constexpr std::optional<CaptureSource> captureSource(std::string_view raw) {
    for (const CaptureSource source : allCaptureSources) {
        if (rawValue(source) == raw) {
            return source;
        }
    }
    return std::nullopt;
}

}  // namespace tarn
