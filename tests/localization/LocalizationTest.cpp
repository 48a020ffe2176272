// The language of the interface over real settings in a folder of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMetaEnum>
#include <QMetaProperty>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>
#include <tuple>

#include "TarnApp/doctor/Wording.h"
#include "TarnApp/localization/DurationText.h"
#include "TarnApp/localization/LocalizationManager.h"
#include "TarnCore/audio/SoundErrorText.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class LocalizationTest : public testing::Test {
protected:
    LocalizationTest() {
        for (const char* const name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"}) {
            ::unsetenv(name);
        }
        ::setenv("LANG", "de_DE.UTF-8", 1);
        UserDefaults::setStandard(defaults_);
    }
    ~LocalizationTest() override { UserDefaults::setStandard(nullptr); }

    const test::TemporaryFolder folder_;
    const std::shared_ptr<UserDefaults> defaults_ = UserDefaults::open(folder_.file("settings.json"));
};

TEST_F(LocalizationTest, WritesDurations) {
    const std::tuple<double, const char*, const char*> rows[] = {
        {8.4, "8 s", "8 秒"},
        {0.2, "1 s", "1 秒"},
        {std::nan(""), "1 s", "1 秒"},
        {59.6, "1 min", "1 分钟"},
        {80, "1 min 20 s", "1 分 20 秒"},
        {180, "3 min", "3 分钟"},
        {3590, "59 min 50 s", "59 分 50 秒"},
        {3600 + 290, "1 h 5 min", "1 小时 5 分钟"},
        {2 * 3600 - 10, "2 h", "2 小时"},
        {1e300, "277777 h 47 min", "277777 小时 47 分钟"},
    };
    for (const auto& [seconds, english, chinese] : rows) {
        EXPECT_EQ(durationText(seconds, AppLanguage::en), english);
        EXPECT_EQ(durationText(seconds, AppLanguage::zh), chinese);
    }
    EXPECT_EQ(notTranslatedText(80, AppLanguage::en), "[1 min 20 s not translated]");
    EXPECT_EQ(notTranslatedText(80, AppLanguage::zh), "[1 分 20 秒未翻译]");
}

TEST_F(LocalizationTest, ReadsTheStoredPreferenceAfreshAndExactly) {
    EXPECT_EQ(LanguagePreference::stored(), LanguagePreference::system);
    for (const LanguagePreference preference : LanguagePreference::all) {
        defaults_->set("app.language", preference.rawValue());
        EXPECT_EQ(LanguagePreference::stored(), preference) << preference.rawValue();
    }
    for (const char* const other : {"fr", "EN", "zh", "zhhans", "zhHans ", ""}) {
        defaults_->set("app.language", other);
        EXPECT_EQ(LanguagePreference::stored(), LanguagePreference::system) << other;
    }
    defaults_->set("app.language", 1);
    EXPECT_EQ(LanguagePreference::stored(), LanguagePreference::system);
}

TEST_F(LocalizationTest, ChoosesTheTextsByThePreferenceAndThenByTheFirstLanguageOfTheSystem) {
    struct Row {
        const char* stored;  // null: nothing
        const char* system;
        const char* text;
    };
    const Row rows[] = {
        {nullptr, "zh_CN.UTF-8", "麦克风"},
        {nullptr, "ZH_tw", "麦克风"},
        {nullptr, "en_GB.UTF-8", "Microphone"},
        {nullptr, "ja_JP", "Microphone"},
        {nullptr, "", "Microphone"},
        {"system", "zh_HK", "麦克风"},
        {"en", "zh_CN", "Microphone"},
        {"zhHans", "en_GB", "麦克风"},
        {"fr", "zh", "麦克风"},
    };
    for (const auto& row : rows) {
        defaults_->remove("app.language");
        if (row.stored != nullptr) {
            defaults_->set("app.language", row.stored);
        }
        ::setenv("LANG", row.system, 1);
        EXPECT_EQ(text(LocKey::sourceMic), row.text) << row.system;
    }
    ::setenv("LANG", "fr_FR", 1);
    ::setenv("LANGUAGE", "fr_FR:zh_Hans", 1);
    defaults_->remove("app.language");
    EXPECT_EQ(AppLanguage::systemDefault(), AppLanguage::en) << "only the first entry counts";
}

std::set<std::string> placesIn(std::string_view text) {
    std::set<std::string> places;
    for (auto at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        if (const auto place = text.substr(at, 2); place.back() >= '1' && place.back() <= '9') {
            places.emplace(place);
        }
    }
    return places;
}

TEST(Texts, AreWholeInBothLanguagesAndTrueOfThisDesktop) {
    std::vector<TextRow> shown(TextTable<LocKey>::rows.begin(), TextTable<LocKey>::rows.end());
    const auto add = [&shown](const auto& rows) { shown.insert(shown.end(), rows.begin(), rows.end()); };
    add(TextTable<AddedText>::rows);
    add(TextTable<DoctorText>::rows);
    add(TextTable<SoundErrorText>::rows);
    for (const auto& row : shown) {
        EXPECT_FALSE(row.english.empty() || row.chinese.empty()) << row.key;
        EXPECT_EQ(placesIn(row.english), placesIn(row.chinese)) << row.key;
        if (row.key == "permissionDenied") {
            continue;  // the interface has a text of its own for this one
        }
        for (const char* const foreign :
             {"%@", "macOS", "Apple", "Google", "GitHub", "System Settings", "Screen Recording", "⋯",
              "Privacy", "苹果", "系统设置", "屏幕录制", "隐私"}) {
            EXPECT_THAT(row.english, Not(HasSubstr(foreign))) << row.key;
            EXPECT_THAT(row.chinese, Not(HasSubstr(foreign))) << row.key;
        }
    }
}

TEST_F(LocalizationTest, PutsTheArgumentInThePlaceOfThePlaceholderAsItStands) {
    const std::string email = "a$&%@b@example.org";
    EXPECT_EQ(text(LocKey::loginSignedInAs, AppLanguage::en, {email}), "Signed in as " + email);
    EXPECT_EQ(text(LocKey::loginSignedInAs, AppLanguage::zh, {email}), "已登录：" + email);
    EXPECT_EQ(text(LocKey::start, AppLanguage::en, {email}), "Start") << "no place for it";
}

TEST_F(LocalizationTest, StoresAChangeBeforeItAnnouncesItAndAChoiceOfTheSameNotAtAll) {
    LocalizationManager manager;
    std::vector<std::string> heard;
    QObject::connect(&manager, &LocalizationManager::languageChanged, [&] {
        heard.push_back(defaults_->string("app.language").value_or("none") + " " +
                        manager.property("start").toString().toStdString() + " " +
                        std::string(manager.language().rawValue()));
    });
    manager.setLanguage(LanguagePreference::system);
    EXPECT_FALSE(defaults_->contains("app.language"));
    manager.setLanguage(LanguagePreference::zhHans);
    manager.setLanguage(LanguagePreference::zhHans);
    EXPECT_THAT(heard, ElementsAre("zhHans 启动 zhHans"));
    EXPECT_EQ(LocalizationManager().language(), LanguagePreference::zhHans) << "at the next start";
    manager.setLanguage(LanguagePreference::system);
    EXPECT_EQ(heard.back(), "system Start system");
}

TEST_F(LocalizationTest, GivesViewsAPropertyForEveryKeyThatChangesWithTheLanguage) {
    LocalizationManager manager;
    const auto& meta = LocalizationManager::staticMetaObject;
    std::map<std::string, std::string> wanted;
    for (const auto& row : TextTable<LocKey>::rows) {
        wanted.emplace(row.key, row.english);
    }
    for (const auto& row : TextTable<AddedText>::rows) {
        EXPECT_TRUE(wanted.emplace(row.key, row.english).second) << row.key << " has two texts";
    }
    std::map<std::string, std::string> got;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const auto property = meta.property(i);
        EXPECT_TRUE(property.hasNotifySignal()) << property.name();
        if (property.metaType() == QMetaType::fromType<QString>()) {
            got[property.name()] = property.read(&manager).toString().toStdString();
        }
    }
    EXPECT_EQ(got, wanted);

    // As a view writes it: a plain number.
    EXPECT_TRUE(manager.setProperty("language", 2));
    EXPECT_EQ(manager.language(), LanguagePreference::zhHans);
    std::vector<std::string> labels;
    for (const auto& choice : manager.choices()) {
        labels.push_back(std::to_string(choice.toMap()["preference"].toInt()) + " " +
                         choice.toMap()["label"].toString().toStdString());
    }
    EXPECT_THAT(labels, ElementsAre("0 跟随系统", "1 English", "2 简体中文"));
}

}  // namespace
}  // namespace tarn
