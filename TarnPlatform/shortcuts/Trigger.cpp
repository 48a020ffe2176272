#include "Trigger.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tarn {
namespace {

/// The keysyms are those of X11/keysymdef.h, whose names the portal takes too.
struct NamedKey {
    std::string_view text;  ///< in small letters
    std::string_view name;
    std::uint32_t keysym;
};
constexpr std::array<NamedKey, 12> namedKeys{{{"space", "space", 0x20},
                                              {"pause", "Pause", 0xff13},
                                              {"home", "Home", 0xff50},
                                              {"left", "Left", 0xff51},
                                              {"up", "Up", 0xff52},
                                              {"right", "Right", 0xff53},
                                              {"down", "Down", 0xff54},
                                              {"pageup", "Page_Up", 0xff55},
                                              {"pagedown", "Page_Down", 0xff56},
                                              {"end", "End", 0xff57},
                                              {"insert", "Insert", 0xff63},
                                              {"delete", "Delete", 0xffff}}};
constexpr std::uint32_t pauseKey = 0xff13;
constexpr std::uint32_t firstFunctionKey = 0xffbe;
constexpr std::uint32_t functionKeys = 24;

char small(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool readKey(std::string_view key, Trigger& trigger) {
    const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    if (key.size() == 1 && isPlain(key[0])) {
        trigger.keysym = static_cast<std::uint32_t>(key[0]);
        trigger.keyName = key;
        return true;
    }
    const auto* const named = std::ranges::find(namedKeys, key, &NamedKey::text);
    if (named != namedKeys.end()) {
        trigger.keysym = named->keysym;
        trigger.keyName = named->name;
        return true;
    }
    std::uint32_t number = 0;
    // "F01" is no key, and neither is "F", which is a letter and was read above.
    if (!key.starts_with('f') || key.size() < 2 || key[1] == '0') {
        return false;
    }
    const auto [end, error] = std::from_chars(key.data() + 1, key.data() + key.size(), number);
    if (error != std::errc() || end != key.data() + key.size() || number > functionKeys) {
        return false;
    }
    trigger.keysym = firstFunctionKey + number - 1;
    trigger.keyName = "F" + std::to_string(number);
    return true;
}

}  // namespace

std::optional<Trigger> Trigger::parse(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), small);
    std::string_view rest(lower);
    Trigger trigger;
    for (auto plus = rest.find('+'); plus != std::string_view::npos; plus = rest.find('+')) {
        const auto word = rest.substr(0, plus);
        rest.remove_prefix(plus + 1);
        bool* const held = word == "ctrl"    ? &trigger.control
                           : word == "alt"   ? &trigger.alt
                           : word == "shift" ? &trigger.shift
                           : word == "super" ? &trigger.super
                                             : nullptr;
        // A modifier that is named twice is more likely a mistake than a wish.
        if (held == nullptr || *held) {
            return std::nullopt;
        }
        *held = true;
    }
    if (!readKey(rest, trigger)) {
        return std::nullopt;
    }
    // A grab of a key that writes would take it from every text field of the desktop.
    const bool writes =
        trigger.keysym < firstFunctionKey || trigger.keysym >= firstFunctionKey + functionKeys;
    if (writes && trigger.keysym != pauseKey && !trigger.control && !trigger.alt && !trigger.super) {
        return std::nullopt;
    }
    return trigger;
}

std::string Trigger::portalText() const {
    std::string text;
    text += control ? "CTRL+" : "";
    text += alt ? "ALT+" : "";
    text += shift ? "SHIFT+" : "";
    text += super ? "LOGO+" : "";
    return text + keyName;
}

}  // namespace tarn
