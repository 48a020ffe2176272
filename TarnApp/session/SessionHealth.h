#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "TarnApp/localization/AddedText.h"

namespace tarn {

/// What keeps a run that goes on from being heard or translated; the worst first.
enum class SessionFault : std::uint8_t {
#define TARN_TEXT(fault, english, chinese) fault,
#include "TarnApp/localization/HealthTexts.h"
#undef TARN_TEXT
};
/// Each with its value: what the service said, how many seconds; empty where it has none.
using SessionFaults = std::map<SessionFault, std::string>;

/// What the window says of it. "%1" stands for the fault's value.
AddedText textOf(SessionFault fault);
/// "connectionLost", …: that text's name.
std::string_view nameOf(SessionFault fault);

/// What a run uses of the desktop's sound.
struct SoundInUse {
    bool microphone = false;
    std::optional<std::string> microphoneUID;  ///< none: the default one
};

/// Watches the sound as long as the returned object lives. `changed` gets the faults whenever they have
/// changed, at first only if there are any; thread: any. The call and the release happen on main.
using WatchSound =
    std::function<std::shared_ptr<void>(SoundInUse, std::function<void(SessionFaults)> changed)>;

}  // namespace tarn
