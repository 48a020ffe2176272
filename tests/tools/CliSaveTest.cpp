// What the command line saves, against a relay that plays a script.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>

#include "CliFixture.h"

namespace tarn {
namespace {

using testing::HasSubstr;

// The first utterance tells where its speech is, the second one lacks its translation.
constexpr const char* talk =
    R"({"after_audio":32000,"event":{"type":"input_audio_buffer.speech_started","item_id":"a","audio_start_ms":200}}
{"after_audio":32000,"event":{"type":"input_audio_buffer.speech_stopped","item_id":"a","audio_end_ms":900}}
{"after_audio":32000,"event":{"type":"conversation.item.input_audio_transcription.completed","item_id":"a","transcript":"one --> two\u001b"}}
{"after_audio":32000,"event":{"type":"response.audio_transcript.done","transcript":"=eins"}}
{"after_audio":96000,"event":{"type":"input_audio_buffer.speech_started","item_id":"b","audio_start_ms":2100}}
{"after_audio":96000,"event":{"type":"input_audio_buffer.speech_stopped","item_id":"b","audio_end_ms":2950}}
{"after_audio":96000,"event":{"type":"conversation.item.input_audio_transcription.completed","item_id":"b","transcript":"three"}}
)";

class CliSave : public test::CliFixture {
protected:
    std::string speech(double seconds = 3.2) const {
        return world.write("talk.raw", std::string(static_cast<std::size_t>(seconds * 32000), '\0'));
    }
    std::unique_ptr<test::Program> run(std::vector<std::string> saving) const {
        saving.insert(saving.begin(),
                      {"--input", "-", "--from", "en", "--to", "de", "--silence-ms", "100", "--drain", "1"});
        return start(std::move(saving), speech());
    }
};

TEST_F(CliSave, EachFormatWithTheTimesOfTheSpeech) {
    startRelay(talk);
    const auto srt = world.write("talk.srt", "older");
    const auto vtt = world.file("talk.VTT");
    const auto csv = world.file("talk.csv");
    const auto cli = run({"--save", srt, "--save", vtt, "--save", csv, "--save-texts", "both"});
    EXPECT_EQ(cli->wait(), 0) << cli->err();
    EXPECT_THAT(test::readFile(srt), testing::StartsWith("1\n00:00:00,200 --> "));
    EXPECT_THAT(test::readFile(srt), HasSubstr("\n2\n00:00:02,100 --> "));
    EXPECT_THAT(test::readFile(srt), HasSubstr("three\n"));
    EXPECT_THAT(test::readFile(srt), testing::Not(HasSubstr("one --> two")));
    EXPECT_THAT(test::readFile(vtt), testing::StartsWith("WEBVTT\n"));
    EXPECT_THAT(test::readFile(csv), testing::Not(HasSubstr(",=eins")));
    struct stat mode{};
    ASSERT_EQ(::stat(srt.c_str(), &mode), 0);
    EXPECT_EQ(mode.st_mode & 0777U, 0600U);
}

TEST_F(CliSave, OneOfTheTextsAndWholeWhileTheRunGoesOn) {
    startRelay(talk);
    const auto text = world.file("talk.txt");
    const auto cli =
        start({"--input", "-", "--from", "en", "--to", "de", "--save", text, "--save-texts", "translation"},
              speech(60));
    cli->waitForOutput("en: three");
    cli->signal(SIGKILL);
    cli->wait();
    EXPECT_THAT(test::readFile(text), HasSubstr("=eins"));
    EXPECT_THAT(test::readFile(text), testing::Not(HasSubstr("one")));
}

TEST_F(CliSave, WhatCannotBeSavedIsSaidBeforeAnythingIsLost) {
    startRelay(talk);
    const auto kept = world.write("kept.srt", "older");
    const struct {
        std::vector<std::string> options;
        int status;
        const char* complaint;
    } cases[] = {
        {{"--save", world.file("talk.doc")}, 2, "must end in one of srt"},
        {{"--save", kept, "--save", world.path() + "/./kept.srt"}, 2, "written already"},
        {{"--save", world.file("no/such/folder.srt")}, 1, "folder.srt"},
        {{"--save", "/dev/null/x.srt"}, 1, "x.srt"},
    };
    for (const auto& [options, status, complaint] : cases) {
        const auto cli = run(options);
        EXPECT_EQ(cli->wait(), status) << complaint;
        EXPECT_THAT(cli->err(), HasSubstr(complaint));
    }
    token = "wrong";
    EXPECT_EQ(run({"--save", kept})->wait(), 3);
    EXPECT_EQ(test::readFile(kept), "older");
}

}  // namespace
}  // namespace tarn
