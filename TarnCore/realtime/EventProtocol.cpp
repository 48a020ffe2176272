#include "EventProtocol.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "EventNames.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn {

namespace json = boost::json;

std::string sessionUpdateEvent(const std::string& eventId, const QwenConfig& config) {
    json::object session{
        {"modalities", {"text", "audio"}},
        {"input_audio_format", "pcm"},
        {"output_audio_format", "pcm"},
        {"translation", {{"language", config.targetLang}}},
    };
    if (config.sourceLang) {
        session["input_audio_transcription"] = {{"model", "qwen3-asr-flash-realtime"},
                                                {"language", *config.sourceLang}};
    }
    if (config.voiceClone != "none") {
        session["voice"] = config.voice.value_or("default");
        session["enable_voice_clone"] = true;
        session["voice_clone_options"] = {{"frequency", config.voiceClone}};
    } else if (config.voice) {
        session["voice"] = *config.voice;
    }
    if (config.silenceMs) {
        session["turn_detection"] = {{"type", "server_vad"}, {"silence_duration_ms", *config.silenceMs}};
    }
    const json::object event{
        {"event_id", eventId}, {"type", events::sessionUpdate}, {"session", std::move(session)}};
    return json::serialize(event);
}

std::string audioAppendEvent(const std::string& eventId, std::span<const std::byte> pcm) {
    // Neither part can hold a character that JSON would escape, so the text is put together as it stands.
    std::string event;
    const std::string audio = base64Encode(pcm);
    event.reserve(audio.size() + eventId.size() + 80);
    event += R"({"event_id":")";
    event += eventId;
    event += R"(","type":")";
    event += events::audioAppend;
    event += R"(","audio":")";
    event += audio;
    event += R"("})";
    return event;
}

std::string complaintOf(const json::object& errorEvent) {
    const auto* const inner = errorEvent.if_contains("error");
    const auto& detail = inner != nullptr && inner->is_object() ? inner->get_object() : errorEvent;
    const auto text = [&detail](std::string_view name, std::string_view otherwise) {
        const auto* const field = detail.if_contains(name);
        return std::string(field != nullptr && field->is_string() ? std::string_view(field->get_string())
                                                                  : otherwise);
    };
    return "[" + text("code", "?") + "] " + text("message", "(no message)");
}

}  // namespace tarn
