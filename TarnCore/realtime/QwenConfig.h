#pragma once

#include <optional>
#include <string>
#include <utility>

namespace tarn {

/// One connection's configuration. Value type, copied into the client.
struct QwenConfig {
    QwenConfig(std::optional<std::string> sourceLanguage, std::string targetLanguage,
               std::optional<std::string> voiceName, std::string voiceCloneMode, std::optional<int> silence)
        : sourceLang(std::move(sourceLanguage)),
          targetLang(std::move(targetLanguage)),
          voice(std::move(voiceName)),
          voiceClone(std::move(voiceCloneMode)),
          silenceMs(silence) {}

    std::optional<std::string> sourceLang;  ///< language code of the speech; absent: the service detects it
    std::string targetLang;                 ///< language code of the translation
    std::optional<std::string> voice;  ///< voice name of the translated speech; absent: the service's own
    std::string voiceClone;            ///< "none", or how often to clone: "once", "always"
    std::optional<int> silenceMs;      ///< milliseconds of silence that end an utterance; absent: not sent

    bool operator==(const QwenConfig&) const = default;
};

}  // namespace tarn
