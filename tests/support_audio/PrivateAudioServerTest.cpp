#include "support/audio/PrivateAudioServer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/Recorder.h"
#include "support/audio/Until.h"

namespace tarn::test {
namespace {

// Programs of this machine that were started with the folder as their session.
int programsOf(const std::filesystem::path& folder) {
    int count = 0;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        std::ostringstream environment;
        environment << std::ifstream(process.path() / "environ", std::ios::binary).rdbuf();
        count += environment.str().contains("XDG_RUNTIME_DIR=" + folder.string()) ? 1 : 0;
    }
    return count;
}

void expectTone(const Sound& sound, double frequency, double level) {
    for (unsigned channel = 0; channel < sound.channels; ++channel) {
        const auto samples = sound.channel(channel);
        const auto heard = withoutSilence(samples, sound.rate);
        EXPECT_GT(static_cast<double>(heard.size()) / sound.rate, 0.3);
        EXPECT_NEAR(toneLevel(heard, frequency, sound.rate), level, 0.1);
        EXPECT_LT(largestJump(heard, frequency, sound.rate), 0.05);
    }
}

TEST(PrivateAudioServer, CarriesATonePlayedByAnyClientAtItsLevel) {
    PrivateAudioServer server;
    for (const auto program : {PlayerOptions::Program::pwCat, PlayerOptions::Program::paplay}) {
        Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
        Player player(server, server.toneFile(1000, -20, 0.6),
                      {.program = program, .applicationName = "Test & Player"});
        EXPECT_TRUE(server.answer({"pw-cli", "ls", "Node"})->contains("Test & Player"));
        player.waitForEnd();
        expectTone(recorder.stop(), 1000, -20);
    }
    EXPECT_GT(rms(readSound(server.speechFile("The microphone hears speech.")).samples), 0.01);
    Recorder recorder(server, PrivateAudioServer::microphone, Recorder::From::microphone);
    Player(server, server.toneFile(440, -12, 0.6, 44100, 1), {.target = PrivateAudioServer::microphoneFeed})
        .waitForEnd();
    expectTone(recorder.stop(), 440, -12);
}

TEST(PrivateAudioServer, AddsChoosesAndRemovesDevices) {
    PrivateAudioServer server;
    server.addSink("surround", "FL,FR,FC,LFE,RL,RR");
    server.setDefaultSink("surround");
    {
        Recorder recorder(server, "surround", Recorder::From::monitor, 6);
        Player(server, server.toneFile(1000, -20, 0.6, 48000, 6)).waitForEnd();
        expectTone(recorder.stop(), 1000, -20);
    }
    server.removeSink("surround");
    EXPECT_THROW(server.removeSink("surround"), std::runtime_error);
    server.addSource("second-mic", "MONO");
    server.setDefaultSource("second-mic");
    Recorder recorder(server, "second-mic", Recorder::From::microphone, 1);
    Player player(server, server.toneFile(1000, -20, 5));
    ASSERT_TRUE(server.answer({"pw-link", player.nodeName() + ":output_FL", "second-mic:input_MONO"}));
    recorder.waitFor(1.5);
    expectTone(recorder.stop(), 1000, -20);
    player.stop();
    server.removeSource("second-mic");
}

TEST(PrivateAudioServer, PausesDiesAndComesBack) {
    PrivateAudioServer server;
    server.pausePipeWire();
    EXPECT_THROW(server.run({"pw-cli", "info", "0"}).wait(std::chrono::milliseconds(300)),
                 std::runtime_error);
    server.resumePipeWire();
    EXPECT_TRUE(server.answer({"pw-cli", "info", "0"}));
    server.stopWirePlumber();
    {
        const auto file = server.toneFile(1000, -20, 5);
        const Player silent(server, file, {.awaitPorts = false});
        EXPECT_FALSE(server.answer({"pw-link", "-o"})->contains(silent.nodeName()));
    }
    server.startWirePlumber();
    server.killPipeWire();
    EXPECT_FALSE(server.answer({"pw-cli", "info", "0"}));
    server.startPipeWire(PrivateAudioServer::Followers::leave);
    EXPECT_FALSE(server.answer({"pw-metadata", "-n", "default", "0"})->contains("default.audio.sink"));
    server.killPipeWire();
    server.startPipeWire();
    Recorder recorder(server, PrivateAudioServer::output, Recorder::From::monitor);
    Player(server, server.toneFile(1000, -20, 0.6), {.program = PlayerOptions::Program::paplay}).waitForEnd();
    expectTone(recorder.stop(), 1000, -20);
}

TEST(PrivateAudioServer, StartsWithLess) {
    {
        PrivateAudioServer server({.pulse = false, .devices = false});
        const auto nodes = server.answer({"pw-cli", "ls", "Node"});
        EXPECT_FALSE(nodes->contains("Audio/Sink"));
        EXPECT_FALSE(server.answer({"pactl", "info"}));
    }
    {
        PrivateAudioServer server({.devices = false});
        EXPECT_EQ(server.answer({"pactl", "list", "short", "sinks"}), "");
    }
    {
        PrivateAudioServer server({.sessionManager = false, .quantum = 256});
        EXPECT_TRUE(server.hasNode(PrivateAudioServer::output));
        EXPECT_EQ(server.answer({"pw-link", "-io"}), "");
        EXPECT_TRUE(
            server.answer({"pw-metadata", "-n", "settings", "0", "clock.quantum"})->contains("value:'256'"));
    }
}

TEST(PrivateAudioServer, LeavesTheEnvironmentAsItWas) {
    ::setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
    ::setenv("PULSE_SERVER", "elsewhere", 1);
    std::filesystem::path folder;
    {
        const PrivateAudioServer server;
        folder = server.folder();
        EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
        EXPECT_EQ(programsOf(folder), 4);
        EXPECT_EQ(::getenv("XDG_RUNTIME_DIR"), folder.string());
        EXPECT_EQ(::getenv("PULSE_SERVER"), nullptr);
    }
    EXPECT_EQ(programsOf(folder), 0);
    EXPECT_FALSE(std::filesystem::exists(folder));
    EXPECT_STREQ(::getenv("XDG_RUNTIME_DIR"), "/nowhere");
    EXPECT_STREQ(::getenv("PULSE_SERVER"), "elsewhere");
}

TEST(PrivateAudioServerDeathTest, EndsWithAProcessThatIsKilled) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The child finds the file's name in its environment.
    const auto file =
        std::filesystem::temp_directory_path() / ("tarn-audio-killed-" + std::to_string(::getpid()));
    ::setenv("TARN_TEST_FOLDER_FILE", file.c_str(), 0);
    EXPECT_EXIT(
        {
            const PrivateAudioServer server;
            std::ofstream(::getenv("TARN_TEST_FOLDER_FILE")) << server.folder().string() << std::flush;
            ::kill(::getpid(), SIGKILL);
        },
        testing::KilledBySignal(SIGKILL), "");
    std::string folder;
    std::ifstream(file) >> folder;
    std::filesystem::remove(file);
    ASSERT_FALSE(folder.empty());
    until("nothing is left", [&] { return programsOf(folder) == 0 && !std::filesystem::exists(folder); });
}

}  // namespace
}  // namespace tarn::test
