#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Result.h"
#include "TranslationEngine.h"

namespace tarn::relay {

/// One line of a script: an action and when it is due.
struct ScriptStep {
    struct Close {
        std::uint16_t code = 0;
        bool operator==(const Close&) const = default;
    };
    Clock::Duration at{};  ///< since the stream's first client message; not used with `afterAudio`
    std::optional<std::uint64_t> afterAudio;  ///< decoded audio bytes that must have come, instead of a time
    std::variant<std::string, Close> action;  ///< text to send, or the end of the stream
};

/// Reads a script: JSON lines, each an object with "t" (seconds) or "after_audio" (bytes), and one of "event"
/// (an object), "raw" (text sent as it is) and "close" (a code). Empty lines and lines that begin with "#"
/// are passed over. Fails with `invalidInput`, naming the line.
Result<std::vector<ScriptStep>> parseScript(std::string_view text);
/// The same from a file; `path` is named in failures.
Result<std::vector<ScriptStep>> readScript(const std::string& path);

/// Plays the same recorded events to every client, in the order of the script, each not before its time.
class ScriptEngine final : public TranslationEngine {
public:
    /// `executor`: the relay's network executor.
    ScriptEngine(std::vector<ScriptStep> steps, SerialExecutor executor, std::shared_ptr<Clock> clock);

    std::expected<std::unique_ptr<EngineStream>, Refusal> open(const StreamSettings& settings,
                                                               std::shared_ptr<EventSink> sink) override;

private:
    const std::shared_ptr<const std::vector<ScriptStep>> steps_;
    const SerialExecutor executor_;
    const std::shared_ptr<Clock> clock_;
};

}  // namespace tarn::relay
