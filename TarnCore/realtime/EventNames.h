#pragma once

#include <string_view>

/// The "type" values of the realtime event protocol, as client and relay write them.
namespace tarn::events {

// From the client.
inline constexpr std::string_view sessionUpdate = "session.update";
inline constexpr std::string_view audioAppend = "input_audio_buffer.append";

// From the service: results.
inline constexpr std::string_view audioDelta = "response.audio.delta";
inline constexpr std::string_view translationText = "response.audio_transcript.text";
inline constexpr std::string_view translationDelta = "response.audio_transcript.delta";
inline constexpr std::string_view translationDone = "response.audio_transcript.done";
inline constexpr std::string_view sourceDelta = "conversation.item.input_audio_transcription.delta";
inline constexpr std::string_view sourceText = "conversation.item.input_audio_transcription.text";
inline constexpr std::string_view sourceCompleted = "conversation.item.input_audio_transcription.completed";
inline constexpr std::string_view sourceDone = "conversation.item.input_audio_transcription.done";
inline constexpr std::string_view error = "error";

// From the service: progress, which the client passes over in silence.
inline constexpr std::string_view sessionCreated = "session.created";
inline constexpr std::string_view sessionUpdated = "session.updated";
inline constexpr std::string_view speechStarted = "input_audio_buffer.speech_started";
inline constexpr std::string_view speechStopped = "input_audio_buffer.speech_stopped";
inline constexpr std::string_view bufferCommitted = "input_audio_buffer.committed";
inline constexpr std::string_view itemCreated = "conversation.item.created";
inline constexpr std::string_view responseCreated = "response.created";
inline constexpr std::string_view outputItemAdded = "response.output_item.added";
inline constexpr std::string_view contentPartAdded = "response.content_part.added";
inline constexpr std::string_view audioDone = "response.audio.done";
inline constexpr std::string_view contentPartDone = "response.content_part.done";
inline constexpr std::string_view outputItemDone = "response.output_item.done";
inline constexpr std::string_view responseDone = "response.done";

// From the account server's relay.
inline constexpr std::string_view tarnError = "tarn.error";

}  // namespace tarn::events

namespace tarn {

/// Path and query of the translation service's WebSocket, behind "wss://" and its host.
inline constexpr std::string_view serviceRoute =
    "/api-ws/v1/realtime?model=qwen3.5-livetranslate-flash-realtime";

}  // namespace tarn
