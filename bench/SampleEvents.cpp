#include "SampleEvents.h"

#include <random>

#include "TarnPlatform/net/Base64.h"

namespace tarn::bench {

std::vector<std::byte> sampleBytes(std::size_t count) {
    std::mt19937 random(1);
    std::vector<std::byte> bytes(count);
    for (auto& byte : bytes) {
        byte = static_cast<std::byte>(random() & 0xFFU);
    }
    return bytes;
}

std::string partialTextEvent() {
    return R"({"event_id":"event_B5kPm3hT7vQ2xW9","type":"conversation.item.input_audio_transcription.text",)"
           R"("item_id":"item_Yc8Nf4jL6sR1dK0","content_index":0,"language":"en","emotion":"neutral",)"
           R"("text":"the train to the coast leaves from platform four at ","stash":"twenty past nine"})";
}

std::string audioDeltaEvent(std::size_t audioBytes) {
    return R"({"event_id":"event_Jh2Vt8wZ5bM3pC7","type":"response.audio.delta","response_id":"resp_Qe1Xs6gU9nA4kD3",)"
           R"("item_id":"item_Lr7Bd2fO5mH8yT1","output_index":0,"content_index":0,"delta":")" +
           base64Encode(sampleBytes(audioBytes)) + "\"}";
}

std::string unknownEvent() {
    return R"({"event_id":"event_Wn4Gc9kE6rP1uI5","type":"session.usage.updated","usage":{"total_tokens":1630,)"
           R"("input_tokens":1125,"output_tokens":505,"details":{"text_tokens":212,"audio_tokens":1418}}})";
}

}  // namespace tarn::bench
