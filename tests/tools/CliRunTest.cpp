// Translation runs of the command line against a relay that plays a script.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <cmath>
#include <numbers>
#include <sstream>

#include "CliFixture.h"
#include "TarnPlatform/audio/SoundFile.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* dialogue =
    R"({"t":0.05,"event":{"type":"conversation.item.input_audio_transcription.text","text":"hel","stash":"lo"}}
{"t":0.10,"event":{"type":"conversation.item.input_audio_transcription.completed","transcript":"hello"}}
{"t":0.15,"event":{"type":"response.audio_transcript.text","text":"","stash":"ho"}}
{"t":0.20,"event":{"type":"response.audio_transcript.done","transcript":"hola\u001b[2J"}}
{"t":0.25,"event":{"type":"response.audio.delta","delta":"AAECAwQF"}}
{"t":0.30,"event":{"type":"tarn.error","error":"a hiccup"}}
)";

/// `seconds` of a tone as raw s16le, 16 kHz, mono.
std::string rawTone(double seconds) {
    std::string pcm;
    for (int i = 0; i < static_cast<int>(16000 * seconds); ++i) {
        const auto sample =
            static_cast<std::int16_t>(8000 * std::sin(2 * std::numbers::pi * 440 * i / 16000));
        pcm.push_back(static_cast<char>(sample & 0xff));
        pcm.push_back(static_cast<char>(sample >> 8));
    }
    return pcm;
}

std::string little(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text.push_back(static_cast<char>((value >> (8 * i)) & 0xffU));
    }
    return text;
}

/// A WAV file; `tag` 1 is PCM, 3 is float.
std::string wav(std::uint32_t tag, std::uint32_t rate, std::uint32_t channels, std::uint32_t bits,
                const std::string& data) {
    const auto size = static_cast<std::uint32_t>(data.size());
    return "RIFF" + little(36 + size, 4) + "WAVEfmt " + little(16, 4) + little(tag, 2) + little(channels, 2) +
           little(rate, 4) + little(rate * channels * bits / 8, 4) + little(channels * bits / 8, 2) +
           little(bits, 2) + "data" + little(size, 4) + data;
}

/// A named pipe held open at both ends, so that nobody waits to open it and nobody reads it.
class OpenFifo {
public:
    explicit OpenFifo(std::string path) : path_(std::move(path)) {
        ::mkfifo(path_.c_str(), 0600);
        descriptor_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    }
    ~OpenFifo() { ::close(descriptor_); }
    OpenFifo(const OpenFifo&) = delete;
    OpenFifo& operator=(const OpenFifo&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
    int descriptor_;
};

class CliRun : public test::CliFixture {
protected:
    std::string toneFile(double seconds = 0.2) const {
        return world.write("tone.wav", wav(1, 16000, 1, 16, rawTone(seconds)));
    }
    /// The lines of a jsonl run without their times, which must not run backwards.
    static std::vector<std::string> linesWithoutTimes(const std::string& out) {
        std::vector<std::string> lines;
        std::istringstream stream(out);
        double last = 0;
        for (std::string line; std::getline(stream, line);) {
            const auto object = boost::json::parse(line).as_object();
            EXPECT_GE(object.at("t").to_number<double>(), last) << line;
            last = object.at("t").to_number<double>();
            lines.push_back(line.substr(line.find(',') + 1));
        }
        return lines;
    }
};

TEST_F(CliRun, PrintsOneObjectForEachEventAndEndsByItself) {
    startRelay(dialogue);
    const auto dub = world.file("dub.wav");
    const auto cli = start(
        {"--input", toneFile(), "--to", "es", "--silence-ms", "100", "--format", "jsonl", "--dub", dub});
    EXPECT_EQ(cli->wait(), 0);
    EXPECT_THAT(
        linesWithoutTimes(cli->out()),
        ElementsAre(R"("event":"state","value":"connecting"})", R"("event":"state","value":"running"})",
                    R"("event":"source","text":"hello","done":false})",
                    R"("event":"source","text":"hello","done":true})",
                    R"("event":"translation","text":"ho","done":false})",
                    R"("event":"translation","text":"hola\u001b[2J","done":true})",
                    R"("event":"audio","bytes":6})", R"("event":"error","message":"a hiccup"})",
                    R"("event":"state","value":"stopping"})", R"("event":"closed"})",
                    R"("event":"state","value":"idle"})"));
    EXPECT_EQ(test::readFile(dub).substr(44), std::string("\0\1\2\3\4\5", 6));
    struct stat mode{};
    ASSERT_EQ(::stat(dub.c_str(), &mode), 0);
    EXPECT_EQ(mode.st_mode & 0777U, 0600U);
}

TEST_F(CliRun, PrintsFinalTextsAsLinesWithoutTerminalCommands) {
    startRelay(dialogue);
    const auto cli = start({"--input", toneFile(), "--from", "en", "--to", "es", "--silence-ms", "100"});
    EXPECT_EQ(cli->wait(), 0);
    EXPECT_EQ(cli->out(), "en: hello\nes: hola [2J\n");
    EXPECT_EQ(cli->err(), "tarn-cli: a hiccup\n");
}

TEST_F(CliRun, ReadsRawSpeechFromAPipeAndSoundFilesOfEveryKind) {
    // The script speaks only once 25 s of sound have come: more than the silence after an input would ever
    // be.
    startRelay(
        "{\"after_audio\":800000,\"event\":{\"type\":\"response.audio_transcript.done\",\"transcript\":"
        "\"enough\"}}\n");
    const auto pcm16 = rawTone(26);
    std::string floats;
    std::string stereo44;
    for (std::size_t i = 0; i + 1 < pcm16.size(); i += 2) {
        const auto sample = static_cast<std::int16_t>(static_cast<unsigned char>(pcm16[i]) |
                                                      (static_cast<unsigned char>(pcm16[i + 1]) << 8));
        const float value = static_cast<float>(sample) / 32768.0F;
        floats.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    for (int i = 0; i < 26 * 44100; ++i) {
        stereo44 += pcm16.substr(static_cast<std::size_t>(i % 9000) * 2, 2) + std::string(2, '\0');
    }
    const auto truncated = wav(1, 16000, 1, 16, pcm16 + pcm16).substr(0, 44 + pcm16.size());
    const std::pair<const char*, std::string> files[] = {
        {"float", wav(3, 16000, 1, 32, floats)},
        {"44.1 kHz stereo", wav(1, 44100, 2, 16, stereo44)},
        {"shorter than it says", truncated},
    };
    std::vector<std::pair<std::string, std::unique_ptr<test::Program>>> runs;
    for (const auto& [name, content] : files) {
        runs.emplace_back(name, start({"--input", world.write(std::string(name) + ".wav", content), "--to",
                                       "es", "--fast", "--silence-ms", "50"}));
    }
    for (const auto& [name, content] : files) {
        runs.emplace_back("piped " + std::string(name),
                          start({"--input", "-", "--to", "es", "--fast", "--silence-ms", "50"},
                                world.file(std::string(name) + ".wav")));
    }
    const std::string plain = wav(1, 16000, 1, 16, pcm16);
    runs.emplace_back("piped, of unknown length",
                      start({"--input", "-", "--to", "es", "--fast"},
                            world.write("unknown", plain.substr(0, 40) + little(0xFFFFFFFF, 4) + pcm16)));
    runs.emplace_back("pipe",
                      start({"--input", "-", "--to", "es", "--fast"}, world.write("raw", pcm16 + "x")));
    for (const auto& [name, cli] : runs) {
        EXPECT_EQ(cli->wait(), 0) << name << ": " << cli->err();
        EXPECT_EQ(cli->out(), "es: enough\n") << name;
    }
}

TEST_F(CliRun, SaysInOneLineWhatIsWrongWithAnInput) {
    startRelay(dialogue);
    const std::pair<std::string, const char*> inputs[] = {
        {world.write("text.wav", "this is not sound"), "text.wav"},
        {world.path(), world.path().c_str()},
        {world.file("missing.wav"), "missing.wav"},
    };
    for (const auto& [path, name] : inputs) {
        const auto cli = start({"--input", path, "--to", "es"});
        EXPECT_EQ(cli->wait(), 1) << path;
        EXPECT_THAT(cli->err(), HasSubstr(name));
        EXPECT_EQ(std::ranges::count(cli->err(), '\n'), 1) << cli->err();
    }
    for (const std::string& content :
         {wav(17, 16000, 1, 4, "").substr(0, 40) + little(0xFFFFFFFF, 4) + "sound",
          std::string("fLaC and nothing more")}) {
        const auto cli = start({"--input", "-", "--to", "es"}, world.write("piped", content));
        EXPECT_EQ(cli->wait(), 1) << content;
        EXPECT_THAT(cli->err(), testing::StartsWith("tarn-cli: standard input"));
        EXPECT_EQ(std::ranges::count(cli->err(), '\n'), 1) << cli->err();
    }
}

TEST_F(CliRun, AnInterruptSaysGoodbyeAndEndsWell) {
    startRelay(dialogue);
    for (const int number : {SIGINT, SIGTERM}) {
        const auto cli = start({"--input", toneFile(60), "--to", "es", "--format", "jsonl"});
        cli->waitForOutput("hola");
        cli->signal(number);
        EXPECT_EQ(cli->wait(std::chrono::seconds(5)), 0);
        EXPECT_THAT(cli->out(), HasSubstr(R"("event":"closed"})"));
    }
}

TEST_F(CliRun, AnInterruptEndsAlsoARunThatWaitsForItsInputOrItsReader) {
    startRelay(dialogue);
    const OpenFifo silent(world.file("silent"));
    const auto idle = start({"--input", "-", "--to", "es"}, silent.path());
    idle->waitForError("a hiccup");
    idle->signal(SIGINT);
    EXPECT_EQ(idle->wait(std::chrono::seconds(5)), 0);
    EXPECT_EQ(idle->err(), "tarn-cli: a hiccup\n");

    std::string flood;
    for (int i = 0; i < 3000; ++i) {
        flood += R"({"t":0.1,"event":{"type":"response.audio_transcript.done","transcript":")" +
                 std::string(60, 'x') + "\"}}\n";
    }
    startRelay(flood + R"({"t":0.2,"event":{"type":"tarn.error","error":"all sent"}})" + "\n");
    const OpenFifo unread(world.file("unread"));
    test::Program stuck({{"/bin/sh", "-c",
                          "exec " + binary("tarn-cli") + " --input " + toneFile(60) + " --to es --server " +
                              server + " >" + unread.path()},
                         {{"TARN_TOKEN", token}}});
    stuck.waitForError("all sent");
    stuck.signal(SIGTERM);
    EXPECT_EQ(stuck.wait(std::chrono::seconds(10)), 0);
}

TEST_F(CliRun, NeverOverwritesItsInput) {
    startRelay(dialogue);
    const auto input = toneFile();
    const auto before = test::readFile(input);
    EXPECT_EQ(start({"--input", input, "--to", "es", "--dub", input})->wait(), 2);
    EXPECT_EQ(test::readFile(input), before);
    // A run that never began does not empty an older recording either.
    const auto kept = world.write("kept.wav", "older");
    token = "wrong";
    EXPECT_EQ(start({"--input", input, "--to", "es", "--dub", kept})->wait(), 3);
    EXPECT_EQ(test::readFile(kept), "older");
}

TEST_F(CliRun, WaitsForALateVoiceAndSaysWhenATextNeverBecomesFinal) {
    startRelay(
        "{\"t\":2.0,\"event\":{\"type\":\"response.audio_transcript.done\",\"transcript\":\"hola\"}}\n"
        "{\"t\":4.5,\"event\":{\"type\":\"response.audio.delta\",\"delta\":\"AAEC\"}}\n");
    const auto dub = world.file("dub.wav");
    const auto late = start({"--input", toneFile(), "--to", "es", "--silence-ms", "100", "--dub", dub});
    EXPECT_EQ(late->wait(), 0);
    EXPECT_EQ(test::readFile(dub).size(), 46U);

    startRelay("{\"t\":0.1,\"event\":{\"type\":\"response.audio_transcript.text\",\"text\":\"hol\"}}\n");
    const auto open = start({"--input", toneFile(), "--to", "es", "--silence-ms", "100", "--drain", "1"});
    EXPECT_EQ(open->wait(), 0);
    EXPECT_EQ(open->out(), "es: hol …\n");
    EXPECT_THAT(open->err(), HasSubstr("no final text within the drain time"));
}

TEST_F(CliRun, EndsWithoutItsStandardStreamsToo) {
    startRelay(dialogue);
    const std::pair<const char*, const char*> cases[] = {{"--input - <&-", "status 0"},
                                                         {"--input - <&- >&-", "status 0"},
                                                         {"--input - </dev/null >/dev/full", "status 1"}};
    for (const auto& [redirection, status] : cases) {
        test::Program shell({{"/bin/sh", "-c",
                              "{ " + binary("tarn-cli") + " --to es --drain 1 --server " + server + " " +
                                  redirection + "; } 3>&1; echo status $?"},
                             {{"TARN_TOKEN", token}}});
        EXPECT_EQ(shell.wait(std::chrono::seconds(20)), 0);
        EXPECT_THAT(shell.out(), HasSubstr(status)) << redirection << shell.err();
    }
}

TEST_F(CliRun, ADurationEndsTheInput) {
    startRelay(dialogue);
    const auto cli =
        start({"--input", toneFile(60), "--to", "es", "--duration", "0.5", "--silence-ms", "10"});
    EXPECT_EQ(cli->wait(std::chrono::seconds(10)), 0);
    EXPECT_EQ(cli->out(), "heard: hello\nes: hola [2J\n");
}

TEST_F(CliRun, AVoiceWithoutEndDoesNotFillTheDisk) {
    std::string script;
    const std::string second(64000, 'A');
    for (int i = 0; i < 100; ++i) {
        script += R"({"t":0.1,"event":{"type":"response.audio.delta","delta":")" + second + "\"}}\n";
    }
    startRelay(script);
    const auto dub = world.file("dub.wav");
    const auto cli = start({"--input", toneFile(), "--to", "es", "--dub", dub});
    EXPECT_EQ(cli->wait(), 1);
    EXPECT_THAT(cli->err(), HasSubstr("far more voice than there was speech"));
    const auto kept = static_cast<double>(test::readFile(dub).size()) / 48000;
    EXPECT_GT(kept, 55);
    EXPECT_LT(kept, 99);
}

TEST_F(CliRun, AConnectionThatDiesEndsTheRunWithItsReason) {
    struct Case {
        const char* script;
        int status;
        const char* complaint;
    };
    const Case cases[] = {
        {R"({"t":0.1,"close":1011})", 1, "code 1011"},
        {R"({"t":0.1,"close":4001})", 3, "refused the access token"},
        {R"({"t":0.1,"event":{"type":"error","error":{"code":"x","message":"y"}}})", 1, "[x] y"},
    };
    for (const auto& [script, status, complaint] : cases) {
        startRelay(std::string(script) + "\n");
        const auto cli = start({"--input", toneFile(20), "--to", "es"});
        EXPECT_EQ(cli->wait(), status) << complaint;
        EXPECT_THAT(cli->err(), HasSubstr(complaint));
    }
    startRelay(R"({"t":0.1,"event":{"type":"tarn.error","error":"cannot recognise"}}
{"t":0.1,"close":1003}
)");
    const auto refused = start({"--input", toneFile(20), "--to", "es"});
    EXPECT_EQ(refused->wait(), 1);
    EXPECT_EQ(refused->err(), "tarn-cli: cannot recognise\n");

    startRelay(dialogue);
    const auto cli = start({"--input", toneFile(20), "--to", "es"});
    cli->waitForOutput("hola");
    relay->signal(SIGKILL);
    EXPECT_EQ(cli->wait(), 1);
    EXPECT_THAT(cli->err(), HasSubstr("tarn-cli: the connection ended: "));
}

TEST_F(CliRun, SaysWhatIsWrongWithARunThatGoesOn) {
    startRelay(dialogue);
    const auto cli = start({"--input", toneFile(60), "--to", "es", "--format", "jsonl"});
    cli->waitForOutput("hola");
    relay->signal(SIGSTOP);
    cli->waitForOutput(R"("event":"health","faults":["connection-stalled"],"behind_s":0})");
    EXPECT_THAT(cli->err(), HasSubstr("tarn-cli: the server does not answer\n"));
    relay->signal(SIGCONT);
    cli->waitForOutput(R"("event":"health","faults":[],"behind_s":0})");
    cli->signal(SIGINT);
    EXPECT_EQ(cli->wait(), 0);
    EXPECT_THAT(cli->err(), testing::EndsWith("tarn-cli: all is well again\n"));
}

TEST_F(CliRun, StopsWhenNobodyReadsItsOutput) {
    startRelay(dialogue);
    test::Program shell(
        {{"/bin/sh", "-c",
          binary("tarn-cli") + " --input " + toneFile(60) + " --to es --format jsonl --server " + server +
              " | head -n 1 >/dev/null; echo gone"},
         {{"TARN_TOKEN", token}}});
    EXPECT_EQ(shell.wait(), 0);
    EXPECT_EQ(shell.out(), "gone\n");
}

}  // namespace
}  // namespace tarn
