// What the settings make of the program's global shortcuts.
#include "TarnApp/shell/GlobalKeys.h"

#include <gmock/gmock.h>

#include "support/LogCapture.h"

namespace tarn {
namespace {

using testing::ElementsAre;

std::vector<std::string> keysOf(const UserDefaults& defaults) {
    std::vector<std::string> list;
    for (const auto& shortcut : GlobalKeys::shortcuts(defaults)) {
        list.push_back(shortcut.id + " " + shortcut.preferred.portalText());
    }
    return list;
}

class GlobalKeysTest : public testing::Test {
protected:
    GlobalKeysTest() { UserDefaults::setStandard(defaults_); }
    ~GlobalKeysTest() override { UserDefaults::setStandard(nullptr); }

    const std::shared_ptr<UserDefaults> defaults_ = UserDefaults::inMemory();
    const test::LogCapture log_;
};

TEST_F(GlobalKeysTest, AreTheUsualOnesUntilTheUserChanges) {
    EXPECT_THAT(keysOf(*defaults_), ElementsAre("start-stop CTRL+ALT+s", "mini-mode CTRL+ALT+m",
                                                "click-through CTRL+ALT+p", "show CTRL+ALT+o"));
    defaults_->set("globalShortcuts.start-stop", "F9");
    defaults_->set("globalShortcuts.show", "");
    EXPECT_THAT(keysOf(*defaults_),
                ElementsAre("start-stop F9", "mini-mode CTRL+ALT+m", "click-through CTRL+ALT+p"));
    EXPECT_THAT(log_.lines("[shortcuts]"), ElementsAre());
}

TEST_F(GlobalKeysTest, SayWhatIsNoKeyAndWhatIsUsedTwice) {
    defaults_->set("globalShortcuts.start-stop", "S");
    defaults_->set("globalShortcuts.mini-mode", false);
    defaults_->set("globalShortcuts.click-through", "alt+ctrl+m");
    EXPECT_THAT(keysOf(*defaults_),
                ElementsAre("start-stop CTRL+ALT+s", "mini-mode CTRL+ALT+m", "show CTRL+ALT+o"));
    EXPECT_THAT(
        log_.lines("[shortcuts]"),
        ElementsAre("[shortcuts] globalShortcuts.start-stop is no key; it is Ctrl+Alt+S",
                    "[shortcuts] globalShortcuts.mini-mode is no key; it is Ctrl+Alt+M",
                    "[shortcuts] globalShortcuts.click-through is another one's key, too; it is off"));
}

}  // namespace
}  // namespace tarn
