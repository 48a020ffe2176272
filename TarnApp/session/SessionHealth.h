#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tarn {

/// What keeps a run that goes on from being heard or translated; the worst first.
enum class SessionFault : std::uint8_t {
#define TARN_SESSION_FAULT(fault, english, chinese) fault,
#include "SessionHealthTexts.h"
#undef TARN_SESSION_FAULT
};
using SessionFaults = std::set<SessionFault>;

/// "connectionLost", …
std::string_view nameOf(SessionFault fault);
/// What the window says of it in English, with `value` in its place.
std::string englishText(SessionFault fault, const std::string& value);

/// What a run uses of the desktop's sound.
struct SoundInUse {
    bool microphone = false;
    std::optional<std::string> microphoneUID;  ///< none: the default one
};

/// Watches it as long as the returned object lives. `changed` gets the faults of sound whenever they are
/// others than before, the first time if there are any; thread: any. Call and let go on main.
using WatchSound =
    std::function<std::shared_ptr<void>(SoundInUse, std::function<void(SessionFaults)> changed)>;

}  // namespace tarn
