// Keys pressed on a real X server while another program's window has the keyboard, and a portal played by the
// test.
#include "TarnPlatform/shortcuts/GlobalShortcuts.h"

#include <gtest/gtest.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <ranges>

#include "StandInPortal.h"
#include "TarnPlatform/bus/BusThread.h"
#include "support/LogCapture.h"
#include "support/keyring/PrivateKeyring.h"

#include "TarnPlatform/shortcuts/XcbXkb.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using test::PrivateKeyring;
using test::StandInPortal;

/// Keycodes, whatever symbol the layout gives them.
enum Key : std::uint8_t {
    keyQ = 24,
    keyA = 38,
    keyS = 39,
    keyM = 58,
    control = 37,
    alt = 64,
    caps = 66,
    num = 77
};
constexpr std::uint16_t controlAlt = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;

/// Another program, whose window has the keyboard, and the user's fingers.
class OtherProgram {
public:
    OtherProgram() : connection_(xcb_connect(nullptr, nullptr)) {
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const auto window = xcb_generate_id(connection_);
        const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        xcb_map_window(connection_, window);
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_NONE, window, XCB_CURRENT_TIME);
        std::free(
            xcb_xkb_use_extension_reply(connection_, xcb_xkb_use_extension(connection_, 1, 0), nullptr));
    }
    ~OtherProgram() { xcb_disconnect(connection_); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    void move(std::uint8_t what, std::uint8_t key) {
        xcb_test_fake_input(connection_, what, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_flush(connection_);
    }
    void hold(std::uint8_t key) { move(XCB_KEY_PRESS, key); }
    void letGo(std::uint8_t key) { move(XCB_KEY_RELEASE, key); }
    void press(std::initializer_list<std::uint8_t> keys) {
        for (const auto key : keys) {
            hold(key);
        }
        for (const auto key : std::views::reverse(keys)) {
            letGo(key);
        }
    }
    void useLayout(std::uint8_t group) {
        xcb_xkb_latch_lock_state(connection_, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
        xcb_flush(connection_);
    }
    bool grab(std::uint8_t key) {
        auto* const error =
            xcb_request_check(connection_, xcb_grab_key_checked(connection_, 0, root_, controlAlt, key,
                                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }
    void ungrab(std::uint8_t key) {
        xcb_ungrab_key(connection_, key, root_, controlAlt);
        xcb_flush(connection_);
    }
    /// Whether this key has come to the window since the last time.
    bool hasHeard(std::uint8_t key) {
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        bool found = false;
        while (auto* const event = xcb_poll_for_event(connection_)) {
            found = found || ((event->response_type & 0x7f) == XCB_KEY_PRESS &&
                              reinterpret_cast<xcb_key_press_event_t*>(event)->detail == key);
            std::free(event);
        }
        return found;
    }

private:
    xcb_connection_t* const connection_;
    xcb_window_t root_ = XCB_NONE;
};

Shortcut shortcut(const char* id, const char* keys) {
    return {id, std::string("the ") + id, *Trigger::parse(keys)};
}

class GlobalShortcutsTest : public testing::Test {
protected:
    void SetUp() override { setLayout("us"); }
    void start(std::vector<Shortcut> list = {shortcut("mini", "Ctrl+Alt+M"),
                                             shortcut("start", "Ctrl+Alt+S")}) {
        shortcuts_.emplace(bus_.emplace(), context_.get_executor(), std::move(list),
                           [this](const std::string& id) { heard_.push_back(id); });
    }
    static void setLayout(const std::string& layout) {
        ASSERT_EQ(std::system(("setxkbmap -layout " + layout).c_str()), 0);
    }
    template <typename Condition>
    bool until(Condition condition, std::chrono::milliseconds limit = 20s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            context_.run_one_until(std::min(deadline, std::chrono::steady_clock::now() + 20ms));
        }
        return condition();
    }
    /// Presses until it is heard: what the program does about a change takes it a moment.
    bool works(std::uint8_t key, const std::string& id) {
        heard_.clear();
        const auto isHeard = [&] { return std::ranges::count(heard_, id) > 0; };
        for (int i = 0; i < 50 && !isHeard(); ++i) {
            other_.press({control, alt, key});
            until(isHeard, 200ms);
        }
        const bool result = isHeard();
        context_.poll();
        heard_.clear();
        return result;
    }

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(context_);
    OtherProgram other_;
    std::vector<std::string> heard_;
    std::optional<BusThread> bus_;
    std::optional<GlobalShortcuts> shortcuts_;
};

TEST_F(GlobalShortcutsTest, HearsKeysWhileAnotherWindowHasTheKeyboard) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    start();
    ASSERT_TRUE(works(keyM, "mini"));
    other_.hasHeard(keyM);

    // Each lock state counts, and a long press counts once.
    for (const std::uint8_t light : {caps, num, caps, num}) {
        other_.press({light});
        other_.press({control, alt, keyM});
        EXPECT_TRUE(until([this] { return heard_.size() == 1; })) << int{light};
        heard_.clear();
    }
    EXPECT_FALSE(other_.hasHeard(keyM)) << "the window with the keyboard got it, too";
    other_.press({keyM});
    other_.press({control, keyM});
    EXPECT_TRUE(other_.hasHeard(keyM)) << "the key without the others is the window's";
    for (const auto key : {control, alt, keyM}) {
        other_.hold(key);
    }
    ASSERT_TRUE(until([this] { return heard_.size() == 1; }));
    until([] { return false; }, 1s);  // the server repeats the key after 0.66 s
    for (const auto key : {keyM, alt, control}) {
        other_.letGo(key);
    }
    other_.press({control, alt, keyS});
    ASSERT_TRUE(until([this] { return heard_.size() >= 2; }));
    EXPECT_EQ(heard_, (std::vector<std::string>{"mini", "start"}));

    shortcuts_.reset();
    EXPECT_TRUE(until([this] { return other_.grab(keyM); })) << "the grab has not ended";
}

TEST_F(GlobalShortcutsTest, FollowsKeyboardLayouts) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    setLayout("us,fr");
    start({shortcut("a", "Ctrl+Alt+A")});
    ASSERT_TRUE(works(keyA, "a"));
    other_.useLayout(1);
    EXPECT_TRUE(works(keyQ, "a")) << "A of the French layout";
    other_.hasHeard(keyA);
    other_.press({control, alt, keyA});
    EXPECT_TRUE(other_.hasHeard(keyA)) << "its Q is still taken";
    setLayout("us,ru");
    other_.useLayout(1);
    EXPECT_TRUE(works(keyA, "a")) << "the other layout's";
    setLayout("ru");
    EXPECT_TRUE(works(keyA, "a")) << "no layout has it";
    setLayout("fr");
    EXPECT_TRUE(works(keyQ, "a"));
}

TEST_F(GlobalShortcutsTest, SaysOnceWhatAnotherProgramHasTaken) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    const test::LogCapture log;
    ASSERT_TRUE(other_.grab(keyM));
    start();
    ASSERT_TRUE(works(keyS, "start"));
    setLayout("fr");
    setLayout("us");
    ASSERT_TRUE(works(keyS, "start"));
    EXPECT_EQ(log.lines("[shortcuts]"),
              (std::vector<std::string>{"[shortcuts] mini: CTRL+ALT+m is taken by another program"}));
    other_.hasHeard(keyM);
    other_.press({caps});
    other_.press({control, alt, keyM});
    other_.press({caps});
    EXPECT_TRUE(other_.hasHeard(keyM)) << "what is left of the grab takes it from the window";
    // The key is ours after the next change of the keyboard.
    other_.ungrab(keyM);
    setLayout("fr");
    setLayout("us");
    EXPECT_TRUE(works(keyM, "mini"));
}

TEST_F(GlobalShortcutsTest, PortalBindsThemAgainEachTimeItStarts) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    start();
    ASSERT_TRUE(works(keyM, "mini")) << "without a portal";
    for (int life = 0; life < 2; ++life) {
        StandInPortal portal(StandInPortal::User::agrees);
        ASSERT_TRUE(until([&] { return portal.timesBound() == 1; }));
        EXPECT_EQ(portal.asked(),
                  "[('mini', {'description': <'the mini'>, 'preferred_trigger': <'CTRL+ALT+m'>}), "
                  "('start', {'description': <'the start'>, 'preferred_trigger': <'CTRL+ALT+s'>})]");
        ASSERT_TRUE(until([this] { return other_.grab(keyM); })) << "the X server's grab stays beside it";
        other_.ungrab(keyM);
        heard_.clear();
        portal.activate("mini", "/org/freedesktop/portal/desktop/session/other/other");
        portal.activate("unknown");
        portal.activate("start");
        ASSERT_TRUE(until([this] { return !heard_.empty(); }));
        EXPECT_EQ(heard_, std::vector<std::string>{"start"});
    }
    EXPECT_TRUE(works(keyM, "mini")) << "when the portal is gone";
    StandInPortal portal(StandInPortal::User::agrees);
    ASSERT_TRUE(until([this] { return other_.grab(keyM); }));
    other_.ungrab(keyM);
    portal.closeSession();
    EXPECT_TRUE(works(keyM, "mini")) << "when the portal has ended the session";
}

TEST_F(GlobalShortcutsTest, GrabsKeysWhereThePortalDoesNotBind) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    const std::pair<StandInPortal::User, StandInPortal::Kind> rows[] = {
        {StandInPortal::User::refuses, StandInPortal::Kind::whole},
        {StandInPortal::User::agrees, StandInPortal::Kind::withoutShortcuts}};
    for (const auto& [user, kind] : rows) {
        StandInPortal portal(user, kind);
        start();
        EXPECT_TRUE(kind != StandInPortal::Kind::whole || until([&] { return portal.timesBound() == 1; }));
        EXPECT_TRUE(works(keyM, "mini"));
        shortcuts_.reset();
    }
    // Nothing is called once the object is gone, whenever it goes.
    start();
    shortcuts_.reset();
    start({});
    shortcuts_.reset();
}

}  // namespace
}  // namespace tarn
