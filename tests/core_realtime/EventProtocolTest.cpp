#include "TarnCore/realtime/EventProtocol.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <span>
#include <string>

namespace tarn {
namespace {

namespace json = boost::json;

TEST(SessionUpdate, CarriesExactlyTheKeysOfItsConfiguration) {
    const struct {
        const char* name;
        QwenConfig config;
        const char* session;
    } cases[] = {
        {"source",
         {"zh", "en", std::nullopt, "none", std::nullopt},
         R"({"translation":{"language":"en"},
                       "input_audio_transcription":{"model":"qwen3-asr-flash-realtime","language":"zh"}})"},
        {"clonedDefaultVoice",
         {std::nullopt, "es", std::nullopt, "once", std::nullopt},
         R"({"translation":{"language":"es"},"voice":"default","enable_voice_clone":true,
                       "voice_clone_options":{"frequency":"once"}})"},
        {"clonedNamedVoice",
         {std::nullopt, "es", "Ethan", "None", std::nullopt},
         R"({"translation":{"language":"es"},"voice":"Ethan","enable_voice_clone":true,
                       "voice_clone_options":{"frequency":"None"}})"},
        {"voiceAndSilence",
         {std::nullopt, "", "Cherry \"x\"", "none", 800},
         R"({"translation":{"language":""},"voice":"Cherry \"x\"","turn_detection":{"type":"server_vad","silence_duration_ms":800}})"}};
    for (const auto& [name, config, session] : cases) {
        SCOPED_TRACE(name);
        const auto event = json::parse(sessionUpdateEvent("evt_init_1", config)).as_object();
        EXPECT_EQ(event.size(), 3U);
        EXPECT_EQ(event.at("event_id"), "evt_init_1");
        EXPECT_EQ(event.at("type"), "session.update");
        auto expected = json::parse(session).as_object();
        expected["modalities"] = {"text", "audio"};
        expected["input_audio_format"] = "pcm";
        expected["output_audio_format"] = "pcm";
        EXPECT_EQ(event.at("session"), json::value(expected));
    }
}

TEST(AudioAppend, IsCompactJsonWithPaddedBase64) {
    const std::string pcm = "\x01\x02\xff\xfe";
    EXPECT_EQ(audioAppendEvent("evt_a_2", std::as_bytes(std::span(pcm))),
              R"({"event_id":"evt_a_2","type":"input_audio_buffer.append","audio":"AQL//g=="})");
}

}  // namespace
}  // namespace tarn
