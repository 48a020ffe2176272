#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tarn {

/// What a source said without a pause, with its translation; or what became of some of it. Texts are UTF-8 as
/// the service sent them. Value type.
struct Utterance {
    enum class Kind : std::uint8_t {
        speech,
        untranslated,  ///< sound of an outage or a slow network: it was said, and is not translated
        unspoken,      ///< its translated voice was skipped, since it was too far behind; the texts are there
    };
    using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

    Kind kind = Kind::speech;
    int source = 0;            ///< the number of the source in its run: 0 to 3
    std::string sourceName{};  ///< as people know it: an application, a microphone, "System audio"
    std::string sourceLang{};  ///< ISO code; empty: detected
    std::string targetLang{};
    TimePoint saidAt{};  ///< when its speech began
    /// Where its speech is, in the sound of its source since the run's start; for a recording, in that.
    std::chrono::milliseconds begin{};
    std::chrono::milliseconds end{};  ///< at least `begin`
    std::string text{};               ///< what was said
    std::string translation{};        ///< empty: there is none
    double seconds = 0;               ///< of `untranslated` and `unspoken`: how much of it

    bool operator==(const Utterance&) const = default;
};

}  // namespace tarn
