#include "KeyGrabs.h"

#include <glib-unix.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "TarnPlatform/base/Log.h"
#include "XcbXkb.h"

namespace tarn {
namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

constexpr std::uint32_t numLockKeysym = 0xff7f;
constexpr std::uint8_t eventBit = 0x7f;  // leaves out the bit of events that a program has sent
constexpr auto core = static_cast<std::uint16_t>(XCB_XKB_ID_USE_CORE_KBD);

std::uint16_t modifiersOf(const Trigger& trigger) {
    return static_cast<std::uint16_t>(
        (trigger.control ? XCB_MOD_MASK_CONTROL : 0) | (trigger.alt ? XCB_MOD_MASK_1 : 0) |
        (trigger.shift ? XCB_MOD_MASK_SHIFT : 0) | (trigger.super ? XCB_MOD_MASK_4 : 0));
}

/// The key of a letter or digit on an American keyboard; 0 for other keysyms. X's numbers of keys are the
/// kernel's plus 8 and follow the rows of the keyboard, whatever is printed on the keys.
xcb_keycode_t americanKey(std::uint32_t keysym) {
    constexpr std::array<std::pair<xcb_keycode_t, std::string_view>, 4> rows{
        {{10, "1234567890"}, {24, "qwertyuiop"}, {38, "asdfghjkl"}, {52, "zxcvbnm"}}};
    for (const auto& [first, row] : rows) {
        const auto at = keysym < eventBit ? row.find(static_cast<char>(keysym)) : std::string_view::npos;
        if (at != std::string_view::npos) {
            return static_cast<xcb_keycode_t>(first + at);
        }
    }
    return 0;
}

}  // namespace

KeyGrabs::KeyGrabs(const std::vector<Shortcut>& shortcuts, std::function<void(const std::string&)> pressed)
    : shortcuts_(shortcuts), pressed_(std::move(pressed)), connection_(xcb_connect(nullptr, nullptr)) {
    if (!connect()) {
        return;
    }
    source_ = g_unix_fd_source_new(xcb_get_file_descriptor(connection_), G_IO_IN);
    const auto readable = +[](gint, GIOCondition, gpointer self) -> gboolean {
        auto* const grabs = static_cast<KeyGrabs*>(self);
        grabs->takeEvents();
        return xcb_connection_has_error(grabs->connection_) == 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    g_source_set_callback(source_, G_SOURCE_FUNC(readable), this, nullptr);
    g_source_attach(source_, g_main_context_get_thread_default());
    // The first look counts as a change of the keyboard, so that there is one way to grab.
    isStale_ = true;
    takeEvents();
}

KeyGrabs::~KeyGrabs() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    xcb_disconnect(connection_);  // the server ends the grabs of a client that is gone
}

bool KeyGrabs::connect() {
    if (xcb_connection_has_error(connection_) != 0) {
        return false;
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    return useXkb();
}

bool KeyGrabs::useXkb() {
    const auto* const extension = xcb_get_extension_data(connection_, &xcb_xkb_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    xkbEvent_ = extension->first_event;
    const Reply<xcb_xkb_use_extension_reply_t> use(
        xcb_xkb_use_extension_reply(connection_, xcb_xkb_use_extension(connection_, 1, 0), nullptr));
    if (!use || use->supported == 0) {
        return false;
    }
    // By default the server sends a release before each repeated press. With this flag it sends presses
    // alone, so that a key that is held down can be told from one that is pressed again.
    const Reply<xcb_xkb_per_client_flags_reply_t> flags(xcb_xkb_per_client_flags_reply(
        connection_,
        xcb_xkb_per_client_flags(connection_, core, XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0),
        nullptr));
    // Three things change which key has a keysym: another keyboard, another map of the same one, and another
    // layout (a group, in the words of XKB) of the same map.
    constexpr auto events =
        static_cast<std::uint16_t>(XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY |
                                   XCB_XKB_EVENT_TYPE_STATE_NOTIFY);
    constexpr auto parts = static_cast<std::uint16_t>(XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                                      XCB_XKB_MAP_PART_MODIFIER_MAP);
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectState = XCB_XKB_STATE_PART_GROUP_STATE;
    details.stateDetails = XCB_XKB_STATE_PART_GROUP_STATE;
    xcb_xkb_select_events_aux(connection_, core, events, 0, 0, parts, parts, &details);
    const Reply<xcb_xkb_get_state_reply_t> state(
        xcb_xkb_get_state_reply(connection_, xcb_xkb_get_state(connection_, core), nullptr));
    group_ = state ? state->group : group_;
    return true;
}

// The map has for each key the number of its groups and a table of keysyms, `width` of them for each group,
// the one without modifiers first.
void KeyGrabs::readKeys() {
    keysyms_.assign(256, {});
    const Reply<xcb_xkb_get_map_reply_t> reply(
        xcb_xkb_get_map_reply(connection_,
                              xcb_xkb_get_map(connection_, core, XCB_XKB_MAP_PART_KEY_SYMS, 0, 0, 0, 0, 0, 0,
                                              0, 0, 0, 0, 0, 0, 0, 0, 0, 0),
                              nullptr));
    if (!reply) {
        return;
    }
    xcb_xkb_get_map_map_t map;
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                               reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                               reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                               reply->totalVModMapKeys, reply->present, &map);
    auto keys = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
    for (std::size_t key = reply->firstKeySym; keys.rem > 0 && key < keysyms_.size(); ++key) {
        constexpr unsigned groupCount = 0x0f;
        const auto* const keysyms = xcb_xkb_key_sym_map_syms(keys.data);
        const auto length = static_cast<unsigned>(xcb_xkb_key_sym_map_syms_length(keys.data));
        for (unsigned group = 0; group < (keys.data->groupInfo & groupCount); ++group) {
            const unsigned at = group * keys.data->width;
            keysyms_[key].push_back(at < length ? keysyms[at] : 0);
        }
        xcb_xkb_key_sym_map_next(&keys);
    }
}

// Num Lock has no modifier of its own: the mapping of the modifiers has a row of keys for each of the eight,
// and the row with a key of that keysym is the one.
void KeyGrabs::readNumLock() {
    const Reply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(connection_, xcb_get_modifier_mapping(connection_), nullptr));
    if (!reply || reply->keycodes_per_modifier == 0) {
        return;
    }
    const auto* const keys = xcb_get_modifier_mapping_keycodes(reply.get());
    const int count = xcb_get_modifier_mapping_keycodes_length(reply.get());
    numLock_ = 0;
    for (int i = 0; i < count; ++i) {
        if (std::ranges::find(keysyms_[keys[i]], numLockKeysym) != keysyms_[keys[i]].end()) {
            numLock_ =
                static_cast<std::uint16_t>(1U << static_cast<unsigned>(i / reply->keycodes_per_modifier));
        }
    }
}

xcb_keycode_t KeyGrabs::keyOf(const Trigger& trigger) const {
    std::size_t layouts = 0;
    for (const auto& keysyms : keysyms_) {
        layouts = std::max(layouts, keysyms.size());
    }
    const auto keyIn = [&](std::size_t layout) {
        const auto key = std::ranges::find_if(keysyms_, [&](const auto& keysyms) {
            // XKB wraps the group round for a key that has fewer groups than the keyboard.
            return !keysyms.empty() && keysyms[layout % keysyms.size()] == trigger.keysym;
        });
        return key == keysyms_.end() ? xcb_keycode_t{0} : static_cast<xcb_keycode_t>(key - keysyms_.begin());
    };
    xcb_keycode_t key = keyIn(group_);
    for (std::size_t layout = 0; key == 0 && layout < layouts; ++layout) {
        key = keyIn(layout);
    }
    return key != 0 ? key : americanKey(trigger.keysym);
}

// A grab holds for one exact state of all modifiers, Caps Lock and Num Lock included. Since neither of the
// two changes what a shortcut means, each key is grabbed once for each state of both.
std::vector<std::uint16_t> KeyGrabs::lockStates() const {
    constexpr auto capsLock = static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK);
    if (numLock_ == 0) {
        return {0, capsLock};
    }
    return {0, capsLock, numLock_, static_cast<std::uint16_t>(capsLock | numLock_)};
}

void KeyGrabs::grabAll() {
    ungrabAll();
    readKeys();
    readNumLock();
    for (std::size_t i = 0; i < shortcuts_.size(); ++i) {
        const auto& shortcut = shortcuts_[i];
        const Grab wanted{keyOf(shortcut.preferred), modifiersOf(shortcut.preferred), i};
        if ((wanted.key == 0 || !grab(wanted)) && refused_.insert(shortcut.id).second) {
            logLine("[shortcuts] " + shortcut.id + ": " + shortcut.preferred.portalText() +
                    (wanted.key == 0 ? " is on no key" : " is taken by another program"));
        }
    }
}

bool KeyGrabs::grab(const Grab& wanted) {
    // All requests are sent before the first answer is waited for, which makes one round trip of them.
    std::vector<xcb_void_cookie_t> requests;
    for (const auto locks : lockStates()) {
        requests.push_back(xcb_grab_key_checked(connection_, 0, root_,
                                                static_cast<std::uint16_t>(wanted.modifiers | locks),
                                                wanted.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    bool isOurs = true;
    for (const auto request : requests) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(connection_, request));
        isOurs = isOurs && !error;
    }
    if (isOurs) {
        grabs_.push_back(wanted);
    } else {
        // With a part of the grabs the key would work or not, as the lights of the keyboard happen to be.
        ungrab(wanted);
    }
    return isOurs;
}

void KeyGrabs::ungrab(const Grab& grab) {
    for (const auto locks : lockStates()) {
        xcb_ungrab_key(connection_, grab.key, root_, static_cast<std::uint16_t>(grab.modifiers | locks));
    }
}

void KeyGrabs::ungrabAll() {
    std::ranges::for_each(grabs_, [this](const Grab& grab) { ungrab(grab); });
    grabs_.clear();
    held_ = 0;  // its release goes to the window with the keyboard focus from now on
}

// Takes events until none is left. XCB reads the socket whenever it waits for an answer, and keeps the events
// that it finds there: the socket is not readable for them any more, so each look at the keyboard is followed
// by another look at the events.
void KeyGrabs::takeEvents() {
    for (;;) {
        const Reply<xcb_generic_event_t> event(xcb_poll_for_event(connection_));
        if (event) {
            take(*event);
        } else if (!std::exchange(isStale_, false)) {
            break;
        } else {
            grabAll();
        }
    }
    xcb_flush(connection_);
}

void KeyGrabs::take(const xcb_generic_event_t& event) {
    const auto type = static_cast<std::uint8_t>(event.response_type & eventBit);
    if (type == XCB_KEY_PRESS) {
        const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
        const bool repeats = std::exchange(held_, key.detail) == key.detail;
        // The state also tells of locks and of the buttons of the pointer, which do not count.
        constexpr auto meant = static_cast<std::uint16_t>(XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 |
                                                          XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4);
        const auto found = std::ranges::find_if(grabs_, [&key](const Grab& grab) {
            return grab.key == key.detail && grab.modifiers == (key.state & meant);
        });
        if (!repeats && found != grabs_.end()) {
            pressed_(shortcuts_[found->shortcut].id);
        }
    } else if (type == XCB_KEY_RELEASE) {
        const auto& key = reinterpret_cast<const xcb_key_release_event_t&>(event);
        held_ = held_ == key.detail ? xcb_keycode_t{0} : held_;
    } else if (type == XCB_MAPPING_NOTIFY) {
        isStale_ = true;
    } else if (type == xkbEvent_) {
        // All events of XKB share one number; their own type is in the byte after it.
        if (event.pad0 == XCB_XKB_STATE_NOTIFY) {
            const auto group = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event).group;
            isStale_ = isStale_ || group != group_;
            group_ = group;
        } else {
            isStale_ = true;
        }
    }
}

}  // namespace tarn
