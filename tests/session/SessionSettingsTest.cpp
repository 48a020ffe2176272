// A session's settings and where they are kept.

#include <gtest/gtest.h>

#include <QVariant>

#include "SessionWorld.h"

namespace tarn {
namespace {

class SessionSettingsTest : public testing::Test {
protected:
    test::SessionWorld world_;
};

TEST_F(SessionSettingsTest, LoadsWhatIsStoredAsItIsAndTheDefaultWhereItIsOfAnotherType) {
    UserDefaults& defaults = *world_.defaults;
    const auto silence = [&](auto stored) {
        defaults.set("s.silenceMs", stored);
        return world_.makeSession("s")->silenceMs();
    };
    EXPECT_EQ(silence(-5), -5);
    EXPECT_EQ(silence(750.0), 750);
    EXPECT_EQ(silence(0.5), 2000);
    EXPECT_EQ(silence("800"), 2000);
    EXPECT_EQ(silence(true), 2000);
    EXPECT_EQ(silence(std::int64_t{1} << 40), 2000);

    const auto source = [&](const char* raw) {
        defaults.set("s.captureSource", raw);
        return world_.makeSession("s")->captureSource();
    };
    EXPECT_EQ(source("mic"), CaptureSource::mic);
    EXPECT_EQ(source("application"), CaptureSource::application);
    for (const char* const unknown : {"system", "Mic", "", "microphone", "mic "}) {
        EXPECT_EQ(source(unknown), CaptureSource::system) << unknown;
    }
    defaults.set("s.captureSource", 1);
    EXPECT_EQ(world_.makeSession("s")->captureSource(), CaptureSource::system);

    defaults.set("s.voiceProcessing", false);
    EXPECT_FALSE(world_.makeSession("s")->voiceProcessing());
    defaults.set("s.voiceProcessing", "false");
    EXPECT_TRUE(world_.makeSession("s")->voiceProcessing());
    defaults.set("s.targetLang", "");
    EXPECT_EQ(world_.makeSession("s")->targetLang(), "");
    defaults.set("s.targetLang", "tlh");
    EXPECT_EQ(world_.makeSession("s")->targetLang(), "tlh");
    defaults.set("s.targetLang", 7);
    EXPECT_EQ(world_.makeSession("s")->targetLang(), "en");
}

TEST_F(SessionSettingsTest, KeepsEveryAssignmentUnderItsOwnKey) {
    const std::pair<const char*, QVariant> fields[] = {
        {"sourceLang", ""},
        {"targetLang", "en"},  // the same value is a choice, too
        {"voice", "Cherry ✓"},
        {"voiceClone", "always"},
        {"silenceMs", 800},
        {"captureSource", "application"},
        {"micDeviceUID", "alsa_input.x"},
        {"applicationBundleID", "org.vlc"},
        {"applicationName", "VLC"},
        {"voiceProcessing", false},
    };
    const auto session = world_.makeSession("session.1");
    for (const auto& [name, value] : fields) {
        const std::string key = std::string("session.1.") + name;
        EXPECT_FALSE(world_.defaults->contains(key)) << name;
        session->setProperty(name, value);
        EXPECT_TRUE(world_.defaults->contains(key)) << name;
    }
    const auto again = world_.makeSession("session.1");
    for (const auto& [name, value] : fields) {
        EXPECT_EQ(again->property(name), value) << name;
    }
    EXPECT_EQ(world_.makeSession("session.0")->property("voice"), "");
    EXPECT_TRUE(world_.trail.empty()) << "nothing else happens";
}

}  // namespace
}  // namespace tarn
