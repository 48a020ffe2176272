// The microphone session's steps with an engine, devices and a permission that the test makes up.
#include "TarnCore/audio/MicSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "FakeEngine.h"
#include "FakeHardware.h"
#include "support/LogCapture.h"
#include "support/audio/PrivateEnvironment.h"

namespace tarn::test {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

struct MicSessionTest : testing::Test {
    const std::shared_ptr<FakeEngine::Script> script = std::make_shared<FakeEngine::Script>();
    FakeHardware hardware;
    FakeAccess access;
    LogCapture log;
    std::shared_ptr<MicSession> session;

    MicSessionTest() {
        script->formats = {{48000, 2}};
        hardware.list->devices = {{.id = 41, .name = "Built-in", .uid = "mic", .inputChannels = 2},
                                  {.id = 42, .name = "Headset", .uid = "usb", .inputChannels = 1}};
        hardware.list->defaultInput = 41;
        session = std::make_shared<MicSession>(MicSession::Parts{
            .engine = std::make_unique<FakeEngine>(script), .hardware = &hardware, .access = &access});
    }

    auto start(bool voiceProcessing = false, const std::optional<std::string>& uid = std::nullopt) {
        return session->start(1.5F, voiceProcessing, uid);
    }

    /// The lines after those of the entry and the permission.
    Lines steps() {
        Lines lines = log.lines();
        lines.erase(lines.begin(), lines.begin() + 2);
        return lines;
    }
};

const Lines built{"attach", "attach", "attach", "connect", "connect", "connect"};

TEST_F(MicSessionTest, TellsEveryStepOfAPlainStart) {
    ASSERT_TRUE(start());
    EXPECT_THAT(log.lines(), ElementsAre("[mic] start() entered. mainThread=true vp=false preferredUID=<nil>",
                                         "[mic] permission status raw=3 (authorized=true)",
                                         "[mic] EARLY input format: 48000.0Hz 2ch",
                                         "[mic] FINAL probe format: 48000.0Hz 2ch",
                                         "[mic] tap format: 48000.0Hz 2ch vp=false"));
    Lines calls = built;
    calls.insert(calls.end(), {"tap 1024", "prepare", "start"});
    EXPECT_EQ(script->calls, calls);
    EXPECT_EQ(session->rate(), 1.5F);
    script->calls.clear();
    session->stop();
    session->stop();
    EXPECT_THAT(script->calls, ElementsAre("untap", "stop"));
}

TEST_F(MicSessionTest, WithoutPermissionNothingIsTouched) {
    access.now = AuthorizationStatus::denied;
    EXPECT_EQ(start(true, "usb").error(), MicError{MicError::PermissionDenied()});
    EXPECT_THAT(log.lines(), ElementsAre("[mic] start() entered. mainThread=true vp=true preferredUID=usb",
                                         "[mic] permission status raw=2 (authorized=false)"));
    EXPECT_EQ(script->calls, Lines());
}

struct Route {
    const char* uid;
    std::optional<std::uint32_t> defaultInput;
    Lines steps;
    const char* call;
};

TEST_F(MicSessionTest, RoutesToThePreferredDeviceOnlyWhereThatIsNeeded) {
    const Lines routed{"[mic] routing input to device: Headset (uid=usb)",
                       "[mic] after setDevice format: 48000.0Hz 2ch"};
    for (const Route& route :
         {Route{"usb", 41, routed, "device 42"}, Route{"usb", std::nullopt, routed, "device 42"},
          Route{"usb", 99, routed, "device 42"},
          Route{"mic", 41, {"[mic] preferred UID == system default; skipping setProperty"}, "keep 41"},
          Route{"gone", 41, {}, ""}}) {
        const std::size_t before = log.lines().size();
        hardware.list->defaultInput = route.defaultInput;
        script->calls.clear();
        ASSERT_TRUE(start(false, route.uid));
        Lines expected{"[mic] EARLY input format: 48000.0Hz 2ch"};
        expected.insert(expected.end(), route.steps.begin(), route.steps.end());
        expected.insert(expected.end(), {"[mic] FINAL probe format: 48000.0Hz 2ch",
                                         "[mic] tap format: 48000.0Hz 2ch vp=false"});
        const Lines all = log.lines();
        EXPECT_EQ(Lines(all.begin() + static_cast<std::ptrdiff_t>(before) + 2, all.end()), expected)
            << route.uid;
        const bool called = script->calls.front() != "attach";
        EXPECT_EQ(called ? script->calls.front() : "", route.call);
        session->stop();
    }
}

TEST_F(MicSessionTest, ADeviceThatCannotBeSetEndsTheStart) {
    script->deviceStatus = -19;
    EXPECT_EQ(start(false, "usb").error(),
              MicError{MicError::EngineFailed{"setProperty(CurrentDevice) failed status=-19"}});
    script->hasUnit = false;
    EXPECT_EQ(start(false, "usb").error(), MicError{MicError::EngineFailed{"inputNode.audioUnit is nil"}});
    EXPECT_EQ(log.lines().back(), "[mic] routing input to device: Headset (uid=usb)");
}

TEST_F(MicSessionTest, AnInputWithoutAFormatIsRefusedBeforeAndAfterTheGraphIsBuilt) {
    script->formats = {{48000, 2}, {0, 0}};
    EXPECT_EQ(start().error(), (MicError{MicError::InvalidInputFormat{0, 0}}));
    EXPECT_EQ(script->calls, Lines());
    session->stop();
    EXPECT_EQ(script->calls, Lines());

    script->formats = {{48000, 2}, {48000, 2}, {44100, 0}};
    EXPECT_EQ(start().error(), (MicError{MicError::InvalidInputFormat{44100, 0}}));
    EXPECT_EQ(script->calls, built);
    EXPECT_EQ(log.lines().back(), "[mic] tap format: 44100.0Hz 0ch vp=false");
}

TEST_F(MicSessionTest, VoiceProcessingChangesTheTapAndEndsWithTheSession) {
    script->formats = {{48000, 2}, {48000, 2}, {16000, 1}};
    ASSERT_TRUE(start(true));
    EXPECT_THAT(
        steps(),
        ElementsAre("[mic] EARLY input format: 48000.0Hz 2ch", "[mic] FINAL probe format: 48000.0Hz 2ch",
                    "[mic] after VP enable: 16000.0Hz 1ch", "[mic] tap format: 16000.0Hz 1ch vp=true"));
    script->calls.clear();
    session->stop();
    EXPECT_THAT(script->calls, ElementsAre("untap", "stop", "disable"));
}

TEST_F(MicSessionTest, VoiceProcessingThatIsNotToBeHadIsDoneWithout) {
    script->voiceProcessing = failure(ErrorKind::unavailable, "no such thing");
    ASSERT_TRUE(start(true));
    EXPECT_EQ(steps()[2], "[mic] voice processing unavailable: no such thing; proceeding without AEC");
    EXPECT_EQ(steps()[3], "[mic] tap format: 48000.0Hz 2ch vp=false");
}

TEST_F(MicSessionTest, VoiceProcessingThatSpoilsTheFormatIsTakenBack) {
    script->formats = {{48000, 2}, {48000, 2}, {0, 2}, {48000, 2}};
    ASSERT_TRUE(start(true));
    ASSERT_EQ(steps().size(), 5U);
    EXPECT_EQ(steps()[2], "[mic] after VP enable: 0.0Hz 2ch");
    EXPECT_EQ(steps()[3], "[mic] VP corrupted input format — rolling back");
    EXPECT_EQ(steps()[4], "[mic] tap format: 48000.0Hz 2ch vp=false");
    EXPECT_THAT(script->calls, testing::IsSupersetOf({"enable", "disable"}));
}

TEST_F(MicSessionTest, AnEngineThatDoesNotStartIsStoppedAndItsReasonTold) {
    script->started = failure(ErrorKind::unavailable, "the audio server (PipeWire) is not running");
    EXPECT_EQ(start(true).error(),
              MicError{MicError::EngineFailed{"the audio server (PipeWire) is not running"}});
    EXPECT_EQ(Lines(script->calls.end() - 3, script->calls.end()), (Lines{"start", "untap", "disable"}));
}

TEST_F(MicSessionTest, TheTapGivesTheFirstChannelThenItsLevelAndOutlivesTheSession) {
    std::vector<std::string> order;
    session->onPCM = [&](const PcmBuffer& buffer) {
        EXPECT_EQ(buffer.format().channelCount, 1U);
        EXPECT_EQ(*buffer.floatChannelData(), 0.5F);
        order.emplace_back("pcm");
    };
    session->onLevel = [&](float level) { order.push_back(std::to_string(level)); };
    ASSERT_TRUE(start());
    auto buffer = PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 1024);
    buffer->setFrameLength(1024);
    std::fill_n(buffer->floatChannelData(0), 1024, 0.5F);
    std::fill_n(buffer->floatChannelData(1), 1024, 1.0F);
    script->tap(*buffer);
    buffer->setFrameLength(0);
    session->onPCM = nullptr;
    script->tap(*buffer);
    EXPECT_THAT(order, ElementsAre("pcm", "0.500000", "0.000000"));
    session->stop();
    session.reset();
    script->tap(*buffer);
    EXPECT_EQ(order.size(), 3U);
}

TEST(MicErrorTest, SpeaksTheUsersLanguage) {
    const std::vector<std::pair<MicError, std::array<const char*, 2>>> texts{
        {{MicError::InvalidInputFormat{0, 0}},
         {"Invalid microphone input format (sample rate 0.0Hz, 0 channel(s)). The device may be disconnected "
          "or "
          "lack permission.",
          "麦克风输入格式无效（采样率 0.0Hz, 声道数 0）。设备可能未连接或权限缺失。"}},
        {{MicError::EngineFailed{"no device"}},
         {"Audio engine failed to start: no device", "音频引擎启动失败：no device"}},
        {{MicError::PermissionDenied()},
         {"Microphone access is off. Turn on Tarn under System Settings → Privacy & Security → Microphone.",
          "麦克风访问已关闭。请在「系统设置 → 隐私与安全性 → 麦克风」中开启 Tarn。"}}};
    for (const bool chinese : {false, true}) {
        PrivateEnvironment environment;
        environment.set("LC_ALL", chinese ? "zh_CN.UTF-8" : "en_US.UTF-8");
        environment.set("LANGUAGE", std::nullopt);
        for (const auto& [error, text] : texts) {
            EXPECT_EQ(error.errorDescription(), text[chinese ? 1 : 0]);
        }
    }
}

}  // namespace
}  // namespace tarn::test
