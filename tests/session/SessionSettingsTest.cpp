// What a session is made of: its settings and where they are kept, and the lists that choices come from.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "SessionWorld.h"
#include "TarnApp/session/AppMode.h"
#include "TarnApp/session/Languages.h"

namespace tarn {
namespace {

using testing::ElementsAre;

class SessionSettingsTest : public testing::Test {
protected:
    test::SessionWorld world_;
};

TEST_F(SessionSettingsTest, StartsWithTheDefaultsAndStoresNothingByLoading) {
    const auto session = world_.makeSession();
    EXPECT_EQ(session->sourceLang(), "zh");
    EXPECT_EQ(session->targetLang(), "en");
    EXPECT_EQ(session->voice(), "");
    EXPECT_EQ(session->voiceClone(), "none");
    EXPECT_EQ(session->silenceMs(), 2000);
    EXPECT_EQ(session->captureSource(), CaptureSource::system);
    EXPECT_EQ(session->micDeviceUID(), "");
    EXPECT_EQ(session->applicationBundleID(), "");
    EXPECT_EQ(session->applicationName(), "");
    EXPECT_TRUE(session->voiceProcessing());
    EXPECT_EQ(session->state(), ConnectionState::idle());
    EXPECT_EQ(session->sourceText(), "");
    EXPECT_EQ(session->translationText(), "");
    EXPECT_TRUE(session->errorMessage().isNull());
    EXPECT_EQ(session->inputLevel(), 0.0F);
    EXPECT_EQ(session->serverStream(), nullptr);
    EXPECT_NE(session->id(), world_.makeSession()->id());
    for (const char* const field :
         {"sourceLang", "targetLang", "voice", "voiceClone", "silenceMs", "captureSource", "micDeviceUID",
          "applicationBundleID", "applicationName", "voiceProcessing"}) {
        EXPECT_FALSE(world_.defaults->contains(std::string("session.0.") + field)) << field;
    }
}

TEST_F(SessionSettingsTest, LoadsWhatIsStoredAsItIsAndTheDefaultWhereItIsOfAnotherType) {
    UserDefaults& defaults = *world_.defaults;
    const auto silence = [&] { return world_.makeSession("s")->silenceMs(); };
    defaults.set("s.silenceMs", 0);
    EXPECT_EQ(silence(), 0);
    defaults.set("s.silenceMs", -5);
    EXPECT_EQ(silence(), -5);
    defaults.set("s.silenceMs", 750.0);
    EXPECT_EQ(silence(), 750);
    defaults.set("s.silenceMs", 0.5);
    EXPECT_EQ(silence(), 2000);
    defaults.set("s.silenceMs", "800");
    EXPECT_EQ(silence(), 2000);
    defaults.set("s.silenceMs", true);
    EXPECT_EQ(silence(), 2000);
    defaults.set("s.silenceMs", std::int64_t{1} << 40);
    EXPECT_EQ(silence(), 2000);

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

/// One kept field: how it is assigned, what announces it, and what is then stored.
struct Field {
    std::string name;
    std::function<void(TranslateSession&)> assign;
    void (TranslateSession::*changed)();
    std::function<bool(const UserDefaults&, const std::string&)> isStored;
};

std::vector<Field> fields() {
    using Session = TranslateSession;
    const auto text = [](std::string expected) {
        return [expected = std::move(expected)](const UserDefaults& defaults, const std::string& key) {
            return defaults.string(key) == expected;
        };
    };
    return {
        {"sourceLang", [](Session& s) { s.setSourceLang(""); }, &Session::sourceLangChanged, text("")},
        {"targetLang", [](Session& s) { s.setTargetLang("en"); }, &Session::targetLangChanged, text("en")},
        {"voice", [](Session& s) { s.setVoice("Cherry ✓"); }, &Session::voiceChanged, text("Cherry ✓")},
        {"voiceClone", [](Session& s) { s.setVoiceClone("always"); }, &Session::voiceCloneChanged,
         text("always")},
        {"silenceMs", [](Session& s) { s.setSilenceMs(800); }, &Session::silenceMsChanged,
         [](const UserDefaults& d, const std::string& key) { return d.integer(key) == 800; }},
        {"captureSource", [](Session& s) { s.setCaptureSource(CaptureSource::application); },
         &Session::captureSourceChanged, text("application")},
        {"micDeviceUID", [](Session& s) { s.setMicDeviceUID("alsa_input.x"); }, &Session::micDeviceUIDChanged,
         text("alsa_input.x")},
        {"applicationBundleID", [](Session& s) { s.setApplicationBundleID("org.vlc"); },
         &Session::applicationBundleIDChanged, text("org.vlc")},
        {"applicationName", [](Session& s) { s.setApplicationName("VLC"); }, &Session::applicationNameChanged,
         text("VLC")},
        {"voiceProcessing", [](Session& s) { s.setVoiceProcessing(true); }, &Session::voiceProcessingChanged,
         [](const UserDefaults& d, const std::string& key) { return d.boolean(key) == true; }},
    };
}

TEST_F(SessionSettingsTest, AnnouncesAndWritesEveryAssignmentUnderItsOwnKey) {
    for (const Field& field : fields()) {
        SCOPED_TRACE(field.name);
        const auto session = world_.makeSession("session.1");
        const auto other = world_.makeSession("session.0");
        int announced = 0;
        QObject::connect(session.get(), field.changed, session.get(), [&] { ++announced; });
        const std::string key = "session.1." + field.name;
        field.assign(*session);
        EXPECT_TRUE(field.isStored(*world_.defaults, key));
        world_.defaults->remove(key);
        field.assign(*session);  // the same value
        EXPECT_TRUE(field.isStored(*world_.defaults, key));
        EXPECT_EQ(announced, 2);
        EXPECT_FALSE(world_.defaults->contains("session.0." + field.name));
        EXPECT_TRUE(world_.trail.empty()) << "nothing else happens";
    }
    const auto again = world_.makeSession("session.1");
    EXPECT_EQ(again->sourceLang(), "");
    EXPECT_EQ(again->voice(), "Cherry ✓");
    EXPECT_EQ(again->silenceMs(), 800);
    EXPECT_EQ(again->captureSource(), CaptureSource::application);
}

TEST_F(SessionSettingsTest, NamesModesInBothLanguages) {
    const auto labels = [] {
        std::vector<std::string> texts;
        for (const AppMode mode : allAppModes) {
            texts.push_back(label(mode));
        }
        return texts;
    };
    world_.defaults->set("app.language", "en");
    EXPECT_THAT(labels(), ElementsAre("Solo", "Conversation"));
    world_.defaults->set("app.language", "zhHans");
    EXPECT_THAT(labels(), ElementsAre("Solo", "对话"));
    EXPECT_EQ(appMode("conversation"), AppMode::conversation);
    EXPECT_EQ(appMode("Solo"), std::nullopt);
}

TEST(SharedLists, OfferSixteenLanguagesInTheirOrder) {
    std::string rows;
    std::set<std::string_view> codes;
    for (const Language& language : Languages::supported) {
        rows += Languages::row(language) + ",";
        codes.insert(language.code);
    }
    EXPECT_EQ(
        rows,
        "中文 (zh),English (en),日本語 (ja),한국어 (ko),Русский (ru),Español (es),Français (fr),Deutsch (de),"
        "Português (pt),Italiano (it),العربية (ar),Tiếng Việt (vi),ภาษาไทย (th),Indonesia (id),हिन्दी (hi),"
        "Türkçe (tr),");
    EXPECT_EQ(codes.size(), 16U);
}

TEST(SharedLists, TellErrorsApartByTheirReason) {
    EXPECT_EQ(ConnectionState::error("a"), ConnectionState::error("a"));
    EXPECT_NE(ConnectionState::error("a"), ConnectionState::error("b"));
    EXPECT_NE(ConnectionState::error(""), ConnectionState::idle());
    std::string active;
    for (const auto& state :
         {ConnectionState::idle(), ConnectionState::connecting(), ConnectionState::running(),
          ConnectionState::stopping(), ConnectionState::error("x")}) {
        active += state.isActive() ? '1' : '0';
    }
    EXPECT_EQ(active, "01100");
}

}  // namespace
}  // namespace tarn
