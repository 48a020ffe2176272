// The menu of a session's source, and when a change of settings reconnects a session that runs.

#include "TarnApp/views/overlay/SourceChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/views/ViewWorld.h"

namespace tarn {
namespace {

using testing::ElementsAre;

class SourceChoiceTest : public testing::Test {
protected:
    SourceChoiceTest() { show(); }

    void show() {
        choice_.setViewModel(world_.vm());
        choice_.setSession(&session());
    }
    TranslateSession& session() { return *world_.session(0); }
    /// "+" before what is chosen; "# " before a heading, "! " before a note; "-" for a divider.
    std::vector<std::string> menu() const {
        std::vector<std::string> lines;
        for (const auto& row : choice_.rows()) {
            const auto fields = row.toMap();
            const auto kind = fields["kind"].toString();
            const std::string mark = kind == "heading"           ? "# "
                                     : kind == "note"            ? "! "
                                     : fields["chosen"].toBool() ? "+"
                                                                 : "";
            lines.push_back(kind == "divider" ? "-" : mark + fields["text"].toString().toStdString());
        }
        return lines;
    }
    void choose(const std::string& text) {
        const auto rows = choice_.rows();
        for (int i = 0; i < rows.size(); ++i) {
            const auto fields = rows[i].toMap();
            if (fields["kind"] == "entry" && fields["text"].toString().toStdString() == text) {
                choice_.choose(i);
                return;
            }
        }
        FAIL() << "no entry " << text;
    }
    void run() {
        world_.vm()->startAll();
        world_.settle();
        ASSERT_TRUE(world_.vm()->anyRunning());
        world_.takeTrail();
    }
    /// What reconnecting opened since the last call.
    int reconnects() {
        world_.pass(1000);
        const auto trail = world_.takeTrail();
        return static_cast<int>(
            std::ranges::count_if(trail, [](const QString& line) { return line.startsWith("open "); }));
    }

    test::ViewWorld world_;
    SourceChoice choice_;
};

TEST_F(SourceChoiceTest, ListsWhatBelongsToTheChosenSource) {
    EXPECT_THAT(menu(),
                ElementsAre("# Capture source", "+System Audio (all)", "Microphone", "Capture a single app"));
    EXPECT_EQ(choice_.symbol(), "speaker.wave.2.fill");
    EXPECT_EQ(choice_.sourceHelp(), "System Audio (all)");

    choose("Microphone");
    EXPECT_THAT(menu(), ElementsAre("# Capture source", "System Audio (all)", "+Microphone",
                                    "Capture a single app", "-", "# Microphone device", "+System default",
                                    "Built-in Microphone", "Headset", "Refresh devices"));
    choose("Headset");
    EXPECT_EQ(session().micDeviceUID(), "mic-2");
    EXPECT_EQ(menu()[8], "+Headset");
    choose("System default");
    EXPECT_EQ(session().micDeviceUID(), "");
    world_.setMics({QVariantMap{{"id", "mic-9"}, {"name", "Desk"}}});
    choose("Refresh devices");
    world_.settle();
    EXPECT_EQ(menu()[7], "Desk");
    EXPECT_EQ(choice_.sourceHelp(), "Microphone");

    world_.setApps({});
    choice_.opened();
    world_.settle();
    choose("Capture a single app");
    EXPECT_EQ(choice_.sourceHelp(), "App: Capture a single app");
    EXPECT_THAT(menu(), ElementsAre("# Capture source", "System Audio (all)", "Microphone",
                                    "+Capture a single app", "-", "# Capture a single app",
                                    "! No application plays sound now", "Refresh app list"));
    choice_.opened();
    EXPECT_EQ(menu()[6], "! (loading app list…)");
    world_.settle();
    EXPECT_EQ(menu()[6], "! No application plays sound now");
    world_.setApps({QVariantMap{{"id", "org.vlc"}, {"name", "VLC <b>"}}});
    choose("Refresh app list");
    world_.settle();
    choose("VLC <b>");
    EXPECT_EQ(session().applicationBundleID(), "org.vlc");
    EXPECT_EQ(choice_.sourceHelp(), "App: VLC <b>");
    EXPECT_EQ(choice_.applicationName(), "VLC <b>");
    world_.setLanguage("zhHans");
    EXPECT_EQ(choice_.sourceHelp(), "应用: VLC <b>");
    EXPECT_EQ(menu()[0], "# 捕获源");
    for (const int none : {-1, 0, 4, 99}) {
        choice_.choose(none);
    }
    EXPECT_EQ(session().captureSource(), CaptureSource::application);
    session().setCaptureSource(CaptureSource::system);
    EXPECT_EQ(choice_.applicationName(), "") << "kept, but not shown";
}

TEST_F(SourceChoiceTest, ReconnectsOnceForAChangeAndNeverForTheSameValue) {
    run();
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"source language", [this] { session().setSourceLang("fr"); }},
        {"target language", [this] { session().setTargetLang("de"); }},
        {"clone", [this] { session().setVoiceClone("once"); }},
        {"application, with its three fields",
         [this] {
             session().setCaptureSource(CaptureSource::application);
             session().setApplicationBundleID("org.vlc");
             session().setApplicationName("VLC");
         }},
        {"another application", [this] { session().setApplicationBundleID("firefox"); }},
        {"microphone", [this] { session().setCaptureSource(CaptureSource::mic); }},
        {"device", [this] { session().setMicDeviceUID("mic-2"); }},
        {"clone, and the one that changed it reconnects as well",
         [this] {
             session().setVoiceClone("always");
             world_.vm()->reconnect(&session());
         }},
    };
    for (const auto& [what, change] : changes) {
        change();
        EXPECT_EQ(reconnects(), 1) << what;
    }
    const std::pair<const char*, std::function<void()>> others[] = {
        {"the same language", [this] { session().setTargetLang("de"); }},
        {"the same device", [this] { session().setMicDeviceUID("mic-2"); }},
        {"an application while the microphone is used",
         [this] { session().setApplicationBundleID("org.vlc"); }},
        {"voice", [this] { session().setVoice("Ada"); }},
        {"silence", [this] { session().setSilenceMs(500); }},
        {"a name alone", [this] { session().setApplicationName("V"); }},
    };
    for (const auto& [what, change] : others) {
        change();
        EXPECT_EQ(reconnects(), 0) << what;
    }
    session().setCaptureSource(CaptureSource::system);
    EXPECT_EQ(reconnects(), 1);
    session().setMicDeviceUID("");
    EXPECT_EQ(reconnects(), 0) << "a device while the microphone is not used";
}

TEST_F(SourceChoiceTest, ReconnectsThoughItsRowGoesAwayAtOnce) {
    run();
    {
        SourceChoice brief;
        brief.setViewModel(world_.vm());
        brief.setSession(&session());
        choice_.setSession(nullptr);
        session().setTargetLang("fr");
    }
    EXPECT_EQ(reconnects(), 1);
    show();
    world_.vm()->stopAll();
    world_.settle();
    session().setTargetLang("es");
    EXPECT_EQ(reconnects(), 0) << "nothing runs";
}

}  // namespace
}  // namespace tarn
