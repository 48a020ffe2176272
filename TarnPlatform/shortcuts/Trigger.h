#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// A key with what is held down beside it. Thread: any.
struct Trigger {
    bool control = false;
    bool alt = false;
    bool shift = false;
    bool super = false;
    std::uint32_t keysym = 0;  ///< of X11, as the key writes without Shift
    std::string keyName;       ///< that keysym's name

    /// "Ctrl+Alt+M": any of Ctrl, Alt, Shift and Super, then a letter, a digit, F1 to F24, Space, Pause,
    /// Insert, Delete, Home, End, PageUp, PageDown, Left, Right, Up or Down, in capitals or not. Nothing for
    /// other text, and for a key that people type with: only function keys and Pause go without Ctrl, Alt or
    /// Super.
    static std::optional<Trigger> parse(std::string_view text);

    /// As the desktop's portal writes it: "CTRL+ALT+m".
    std::string portalText() const;

    bool operator==(const Trigger&) const = default;
};

}  // namespace tarn
