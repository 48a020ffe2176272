#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

inline constexpr int lowestSpeechRate = 8000;     ///< Hz
inline constexpr int highestSpeechRate = 192000;  ///< Hz
inline constexpr int longestSpeechSeconds = 60;   ///< of one text, that a client is sent

/// Mono speech.
struct Speech {
    int rate = 0;  ///< Hz, within the bounds above; speech without samples may have 0
    std::vector<std::int16_t> samples;
};

/// Speaks text. Shared by all clients. Thread: any; a call blocks, so it belongs on a worker.
class Synthesiser {
public:
    virtual ~Synthesiser() = default;
    virtual bool speaks(const std::string& language) const = 0;
    /// Names that `speak` takes as a voice, the language's default first; an empty list where the language is
    /// not spoken, nothing where the synthesiser cannot tell.
    virtual std::optional<std::vector<std::string>> voices(const std::string& /*language*/) const {
        return std::nullopt;
    }
    /// `voice`: empty for the language's default, which an unknown one falls back to. A failure costs this
    /// text only.
    virtual Result<Speech> speak(const std::string& text, const std::string& voice,
                                 const std::string& language) = 0;
    /// Makes the calls under way, and later ones, fail soon instead of waiting.
    virtual void stop() {}
};

}  // namespace tarn::relay
