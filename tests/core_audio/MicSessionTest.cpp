// What a microphone session does where an engine fails as no private audio server can be made to.
#include "TarnCore/audio/MicSession.h"

#include <gmock/gmock.h>

#include "FakeEngine.h"
#include "support/LogCapture.h"

namespace tarn::test {
namespace {

using Formats = std::deque<std::pair<double, std::uint32_t>>;
const std::pair<double, std::uint32_t> good{48000, 2};

struct OneDevice : AudioHardware {
    Result<HardwareList> read() override {
        HardwareList list;
        list.devices = {{.id = 42, .name = std::nullopt, .uid = "usb", .inputChannels = 1}};
        list.defaultInput = 99;
        return list;
    }
};

struct MicSessionTest : testing::Test {
    const std::shared_ptr<FakeEngine::Script> script = std::make_shared<FakeEngine::Script>();
    OneDevice hardware;
    LogCapture log;
    std::shared_ptr<MicSession> session;

    void make(Formats formats) {
        *script = FakeEngine::Script();
        script->formats = std::move(formats);
        MicSession::Parts parts;
        parts.engine = std::make_unique<FakeEngine>(script);
        parts.hardware = &hardware;
        session = std::make_shared<MicSession>(std::move(parts));
    }
};

TEST_F(MicSessionTest, AFaultOfTheEngineEndsTheStart) {
    struct Fault {
        std::function<void(FakeEngine::Script&)> script;
        MicError error;
        const char* calls;
    };
    const MicError noFormat{MicError::InvalidInputFormat{44100, 0}};
    const Fault faults[] = {
        {[](auto& s) { s.deviceStatus = -19; },
         {MicError::EngineFailed{"setProperty(CurrentDevice) failed status=-19"}},
         ""},
        {[](auto& s) { s.hasUnit = false; }, {MicError::EngineFailed{"inputNode.audioUnit is nil"}}, ""},
        {[](auto& s) { s.formats = {good, good, {44100, 0}}; }, noFormat, ""},
        {[](auto& s) { s.formats = {good, good, good, good, {44100, 0}}; }, noFormat, "enable "},
        {[](auto& s) { s.started = failure(ErrorKind::unavailable, "no"); },
         {MicError::EngineFailed{"no"}},
         "enable untap disable "}};
    for (const auto& [change, error, calls] : faults) {
        make({good});
        change(*script);
        EXPECT_EQ(session->start(1, true, "usb").error(), error);
        EXPECT_EQ(script->calls, calls) << error.errorDescription();
    }
    EXPECT_EQ(log.lines("[mic] routing input to device: Unknown (uid=usb)").size(), 5U);
}

TEST_F(MicSessionTest, VoiceProcessingThatCannotBeHadIsDoneWithout) {
    make({good});
    script->voiceProcessing = failure(ErrorKind::unavailable, "no such thing");
    ASSERT_TRUE(session->start(1, true, std::nullopt));
    EXPECT_EQ(*(log.lines().end() - 2),
              "[mic] voice processing unavailable: no such thing; proceeding without AEC");
    EXPECT_EQ(log.lines().back(), "[mic] tap format: 48000.0Hz 2ch vp=false");

    make({good, good, {0, 2}, good});
    ASSERT_TRUE(session->start(1, true, std::nullopt));
    EXPECT_EQ(*(log.lines().end() - 2), "[mic] VP corrupted input format — rolling back");
    EXPECT_EQ(log.lines().back(), "[mic] tap format: 48000.0Hz 2ch vp=false");
    session->stop();
    EXPECT_EQ(script->calls, "enable disable untap stop ");

    make({good, good, {16000, 1}});
    ASSERT_TRUE(session->start(1, true, std::nullopt));
    EXPECT_EQ(log.lines().back(), "[mic] tap format: 16000.0Hz 1ch vp=true");
    session->stop();
    session->stop();
    EXPECT_EQ(script->calls, "enable untap stop disable ");
}

TEST_F(MicSessionTest, TheTapGivesTheFirstChannelThenItsLevelAndOutlivesTheSession) {
    make({good});
    std::vector<std::string> order;
    session->onPCM = [&](const PcmBuffer& buffer) {
        EXPECT_EQ(buffer.format().channelCount, 1U);
        EXPECT_EQ(*buffer.floatChannelData(), 0.5F);
        order.emplace_back("pcm");
    };
    session->onLevel = [&](float level) { order.push_back(std::to_string(level)); };
    ASSERT_TRUE(session->start(1.5F, false, std::nullopt));
    EXPECT_EQ(session->rate(), 1.5F);
    auto buffer = PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 1024);
    buffer->setFrameLength(1024);
    std::fill_n(buffer->floatChannelData(0), 1024, 0.5F);
    std::fill_n(buffer->floatChannelData(1), 1024, 1.0F);
    script->tap(*buffer);
    session.reset();
    script->tap(*buffer);
    EXPECT_THAT(order, testing::ElementsAre("pcm", "0.500000"));
}

}  // namespace
}  // namespace tarn::test
