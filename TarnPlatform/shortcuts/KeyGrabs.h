#pragma once

#include <glib.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "GlobalShortcuts.h"

namespace tarn {

/// Shortcuts as grabs of keys on the X server that DISPLAY names, on a connection of its own. A shortcut is
/// the key that has its keysym in the keyboard layout in use; where that layout lacks the keysym, in the
/// first one that has it; and where none has it, the key at its place of the American keyboard.
///
/// Thread: one whose main context is its default, and runs.
class KeyGrabs {
public:
    /// `shortcuts` must outlive this.
    KeyGrabs(const std::vector<Shortcut>& shortcuts, std::function<void(const std::string& id)> pressed);
    ~KeyGrabs();
    KeyGrabs(const KeyGrabs&) = delete;
    KeyGrabs& operator=(const KeyGrabs&) = delete;

private:
    struct Grab {
        xcb_keycode_t key;
        std::uint16_t modifiers;
        std::size_t shortcut;
    };

    bool connect();
    bool useXkb();
    void readKeys();
    void readNumLock();
    xcb_keycode_t keyOf(const Trigger& trigger) const;
    void grabAll();
    void ungrabAll();
    bool grab(const Grab& wanted);
    void ungrab(const Grab& grab);
    void takeEvents();
    void take(const xcb_generic_event_t& event);
    std::vector<std::uint16_t> lockStates() const;

    const std::vector<Shortcut>& shortcuts_;
    const std::function<void(const std::string&)> pressed_;
    xcb_connection_t* const connection_;
    GSource* source_ = nullptr;
    xcb_window_t root_ = XCB_NONE;
    std::uint8_t xkbEvent_ = 0;
    std::uint8_t group_ = 0;
    std::vector<std::vector<std::uint32_t>> keysyms_;  ///< for each key and layout, without modifiers
    std::uint16_t numLock_ = XCB_MOD_MASK_2;
    bool isStale_ = false;    ///< the keyboard has changed since the keys were grabbed
    xcb_keycode_t held_ = 0;  ///< the grabbed key that is down
    std::vector<Grab> grabs_;
    std::set<std::string> refused_;  ///< the shortcuts whose refusal is in the log
};

}  // namespace tarn
