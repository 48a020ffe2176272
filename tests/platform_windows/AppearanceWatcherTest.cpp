// The watcher between a portal on a private bus, settings files in a private folder and the desktop's own
// settings.
#include "TarnPlatform/desktop/AppearanceWatcher.h"

#include <gtest/gtest.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/bus/Glib.h"
#include "support/Program.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using test::PrivateKeyring;

/// GLib looks only once where the user's folders are.
const test::TemporaryFolder& configuration() {
    static const test::TemporaryFolder folder;
    return folder;
}

/// A desktop's portal, as far as settings go. It begins with the dark scheme.
class Portal : public test::BusStandIn {
public:
    Portal()
        : BusStandIn("org.freedesktop.portal.Desktop", path,
                     R"(<node><interface name="org.freedesktop.portal.Settings"><method name="ReadAll">
            <arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/></method></interface></node>)",
                     [](const auto&, auto*, const auto&) {
                         return g_variant_new_parsed(
                             "({'org.freedesktop.appearance': {'color-scheme': <uint32 1>, "
                             "'contrast': <uint32 0>}, 'org.other': {'color-scheme': <'x'>}},)");
                     }) {}

    void say(const char* place, const char* key, GVariant* value) const {
        emit(path, "org.freedesktop.portal.Settings", "SettingChanged",
             g_variant_new("(ssv)", place, key, value));
    }

private:
    static constexpr const char* path = "/org/freedesktop/portal/desktop";
};

class AppearanceWatcherTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("XDG_CONFIG_HOME", configuration().path().c_str(), 1);
        setenv("GSETTINGS_BACKEND", "keyfile", 1);
        unsetenv("GTK_THEME");
        std::filesystem::create_directories(configuration().path() + "/gtk-3.0");
        std::filesystem::create_directories(configuration().path() + "/glib-2.0/settings");
    }
    void TearDown() override {
        std::filesystem::remove(configuration().file("gtk-3.0/settings.ini"));
        std::filesystem::remove(configuration().file("glib-2.0/settings/keyfile"));
    }

    void start() {
        watcher_ = std::make_unique<AppearanceWatcher>(bus_.emplace(), context_.get_executor(),
                                                       [this](const AppearanceFacts& facts) {
                                                           facts_ = facts;
                                                           ++told_;
                                                       });
    }
    template <typename Condition>
    bool until(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            context_.run_one_until(deadline);
        }
        return condition();
    }

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(context_);
    AppearanceFacts facts_;
    int told_ = 0;
    std::optional<BusThread> bus_;
    std::unique_ptr<AppearanceWatcher> watcher_;
};

// This test runs first, since GLib reports changes of the settings to the context of their first reader
// alone.
TEST_F(AppearanceWatcherTest, FollowsFilesAndTheDesktopsSettingsWithoutABus) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    configuration().write("gtk-3.0/settings.ini", "[Settings]\ngtk-theme-name=Adwaita\n");
    start();
    ASSERT_TRUE(until([this] { return told_ == 1; }));
    EXPECT_EQ(facts_.dark(), false);
    configuration().write("gtk-3.0/settings.ini", "[Settings]\ngtk-application-prefer-dark-theme=1\n");
    EXPECT_TRUE(until([this] { return facts_.dark() == true; }));
    configuration().write("gtk-3.0/settings.ini", "\xff[not a file of settings\n=\n");
    EXPECT_TRUE(until([this] { return facts_.dark() == std::nullopt; }));
    configuration().write(
        "glib-2.0/settings/keyfile",
        "[org/gnome/desktop/interface]\nenable-animations=false\ncolor-scheme='prefer-dark'\n"
        "[org/gnome/desktop/a11y/interface]\nhigh-contrast=true\n");
    EXPECT_TRUE(
        until([this] { return facts_.reducedMotion() && facts_.dark() == true && facts_.highContrast(); }));
    configuration().write("glib-2.0/settings/keyfile", "[org/gnome/desktop/interface]\n");
    EXPECT_TRUE(until([this] { return facts_ == AppearanceFacts{}; }));
}

TEST_F(AppearanceWatcherTest, FollowsThePortalThatComesLateAndChanges) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    start();
    ASSERT_TRUE(until([this] { return told_ == 1; }));
    EXPECT_EQ(facts_.dark(), std::nullopt);
    const Portal portal;
    ASSERT_TRUE(until([this] { return facts_.dark() == true; }));
    portal.say("org.freedesktop.appearance", "color-scheme", g_variant_new_variant(g_variant_new_uint32(2)));
    ASSERT_TRUE(until([this] { return facts_.dark() == false; }));

    // Settings that are not ours, or have another type than they should, change nothing.
    const int before = told_;
    portal.say("org.freedesktop.appearance", "color-scheme", g_variant_new_string("1"));
    portal.say("org.gnome.desktop.interface", "color-scheme", g_variant_new_uint32(1));
    portal.say("org.gnome.desktop.interface", "enable-animations", g_variant_new_boolean(FALSE));
    ASSERT_TRUE(until([this] { return facts_.reducedMotion(); }));
    EXPECT_EQ(told_, before + 1);
    EXPECT_EQ(facts_.dark(), false);
    portal.say("org.kde.kdeglobals.KDE", "AnimationDurationFactor", g_variant_new_string("0.5"));
    EXPECT_TRUE(until([this] { return !facts_.reducedMotion(); }));

    const auto contrast = [&](const char* place, const char* key, GVariant* value, bool high) {
        portal.say(place, key, value);
        EXPECT_TRUE(until([&] { return facts_.highContrast() == high; })) << place;
    };
    contrast("org.freedesktop.appearance", "contrast", g_variant_new_variant(g_variant_new_uint32(1)), true);
    contrast("org.freedesktop.appearance", "contrast", g_variant_new_variant(g_variant_new_uint32(0)), false);
    contrast("org.gnome.desktop.a11y.interface", "high-contrast", g_variant_new_boolean(TRUE), true);
}

TEST_F(AppearanceWatcherTest, EndsWhateverItWaitsFor) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    // It ends at once, while the first answers are on their way, and after them.
    start();
    watcher_.reset();
    start();
    ASSERT_TRUE(until([this] { return told_ == 1; }));
    watcher_.reset();
    context_.poll();
    EXPECT_EQ(told_, 1);
}

}  // namespace
}  // namespace tarn
