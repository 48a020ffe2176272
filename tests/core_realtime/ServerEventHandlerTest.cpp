// Each case is a list of messages and what they must cause, written as one line per callback.
#include "TarnCore/realtime/ServerEventHandler.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/LogCapture.h"

namespace tarn {
namespace {

using testing::ElementsAre;

struct EventCase {
    const char* name;
    std::vector<std::string> messages;
    std::vector<std::string> calls;
    std::vector<std::string> lines{};
};

struct Heard {
    std::vector<std::string> calls;
    std::vector<ServerEventHandler::Verdict> verdicts;
};

Heard play(const std::vector<std::string>& messages) {
    Heard heard;
    ServerEventHandler handler(
        [&](std::vector<std::byte> pcm) { heard.calls.push_back("audio " + std::to_string(pcm.size())); },
        [&](TranscriptKind kind, std::string text, bool isFinal) {
            heard.calls.push_back((kind == TranscriptKind::source ? "source " : "translation ") + text +
                                  (isFinal ? "|" : "…"));
        },
        [&](TarnServerEvent event) {
            heard.calls.push_back(event.kind == TarnServerEvent::Kind::error ? "error " + event.message
                                                                             : "unauthorized");
        });
    handler.onProgress = [&](const StreamProgress& progress) {
        if (progress.id.empty() && !progress.milliseconds) {
            return;
        }
        heard.calls.push_back("progress " + std::to_string(static_cast<int>(progress.kind)) + " " +
                              progress.id +
                              (progress.milliseconds ? " " + std::to_string(*progress.milliseconds) : "") +
                              (progress.item.empty() ? "" : " of " + progress.item));
    };
    for (const auto& message : messages) {
        heard.verdicts.push_back(handler.handle(message));
    }
    return heard;
}

std::string translation(const std::string& fields) {
    return R"({"type":"response.audio_transcript.text",)" + fields + "}";
}
std::string source(const std::string& fields) {
    return R"({"type":"conversation.item.input_audio_transcription.text",)" + fields + "}";
}

const std::vector<EventCase> eventCases = {
    {"badAudioIsDropped",
     {R"({"type":"response.audio.delta"})", R"({"type":"response.audio.delta","delta":7})",
      R"({"type":"response.audio.delta","delta":"AA*="})", R"({"type":"response.audio.delta","delta":"AAA"})",
      R"({"type":"response.audio.delta","delta":" AAEC"})",
      R"({"type":"response.audio.delta","delta":"A=AA"})"},
     {}},
    {"progressTellsWhereSpeechIsAsFarAsItCanBeRead",
     {R"({"type":"input_audio_buffer.speech_started","item_id":"a","audio_start_ms":40})",
      R"({"type":"input_audio_buffer.speech_stopped","item_id":7,"audio_end_ms":-5.0})",
      R"({"type":"input_audio_buffer.speech_stopped","audio_end_ms":1e300})",
      R"({"type":"response.created","response":{"id":"r"},"item_id":"a"})",
      R"({"type":"response.audio.done","response_id":"r"})", R"({"type":"response.done","response":null})",
      R"({"type":"input_audio_buffer.committed","item_id":"a"})"},
     {"progress 0 a 40", "progress 1  -5", "progress 3 r of a", "progress 4 r"}},
    {"textAndStashAreTheWholeHypothesis",
     {translation(R"("text":"Hel","stash":"lo")"), translation(R"("text":"","stash":"Bye")")},
     {"translation Hello…", "translation Bye…"}},
    {"deltaIsAppended",
     {translation(R"("text":"Hel")"), translation(R"("text":"","stash":"","delta":"lo")"),
      source(R"("delta":"x")"), R"({"type":"response.audio_transcript.delta","delta":"!"})"},
     {"translation Hel…", "translation Hello…", "translation Hello!…"}},
    {"emptyPartialsAndProgressAreSilent",
     {R"({"type":"session.updated"})", R"({"type":"response.done"})", translation(R"("text":"","delta":"")"),
      translation(R"("text":5,"delta":[])")},
     {}},
    {"doneWithoutTranscriptUsesWhatCameSoFarOnce",
     {translation(R"("text":"Hi")"), R"({"type":"response.audio_transcript.done"})",
      R"({"type":"response.audio_transcript.done"})"},
     {"translation Hi…", "translation Hi|", "translation |"}},
    {"sourceFinalFallsBackInOrder",
     {source(R"("text":"so","stash":" far")"),
      R"({"type":"conversation.item.input_audio_transcription.done"})",
      R"({"type":"conversation.item.input_audio_transcription.completed","text":"t"})",
      R"({"type":"conversation.item.input_audio_transcription.completed","text":"t","transcript":""})"},
     {"source so far…", "source so far|", "source t|", "source |"}},
    {"aFinalTranslationLeavesTheSourceAlone",
     {source(R"("text":"a")"), R"({"type":"response.audio_transcript.done","transcript":"Hi"})",
      R"({"type":"conversation.item.input_audio_transcription.done"})"},
     {"source a…", "translation Hi|", "source a|"}},
    {"serviceErrorsAreLogged",
     {R"({"type":"error","error":{"code":"busy","message":"too\nmany"}})",
      R"({"type":"error","error":{"code":5}})", R"({"type":"error","code":"top","message":"level"})"},
     {},
     {"[qwen] server error [busy] too many", "[qwen] server error [?] (no message)",
      "[qwen] server error [top] level"}},
    {"relayErrorsAreRaised",
     {R"({"type":"tarn.error","error":"e","message":"m"})",
      R"({"type":"tarn.error","error":{},"message":"m"})", R"({"type":"tarn.error"})"},
     {"error e", "error m", "error tarn error"}},
    {"unknownTypesAreLogged",
     {R"({"type":"response.text.delta"})", R"({"type":"x","error":{"a":1}})", R"({"no":"type"})"},
     {},
     {"[qwen] response.text.delta", R"([qwen] x: {"a":1})", "[qwen] "}},
    {"nonsenseIsIgnored",
     {"", "nope", "[]", "\"text\"", "{\"type\":\"error\"", "{\"type\":\"response.done\"} x",
      std::string(100000, '['), "{\"type\":\"\xff\"}", std::string("\0", 1)},
     {}},
};

TEST(ServerEventHandler, CausesExactlyTheCallbacksAndLinesOfEachEvent) {
    for (const auto& [name, messages, calls, lines] : eventCases) {
        SCOPED_TRACE(name);
        const test::LogCapture log;
        EXPECT_EQ(play(messages).calls, calls);
        EXPECT_EQ(log.lines(), lines);
    }
}

TEST(ServerEventHandler, StopsOnlyAtAServiceError) {
    const test::LogCapture log;
    using enum ServerEventHandler::Verdict;
    EXPECT_THAT(play({R"({"type":"tarn.error"})", R"({"type":"error"})", "junk"}).verdicts,
                ElementsAre(goOn, stop, goOn));
}

TEST(ServerEventHandler, WritesNoMoreOfAServersMessagesThanALogCanBear) {
    const test::LogCapture log;
    std::vector<std::string> messages(30, R"({"type":"x","error":{"a":")" + std::string(1000, 'b') + "\"}}");
    messages.push_back(R"({"type":"error","error":{"code":"c","message":"m"}})");
    play(messages);
    ASSERT_EQ(log.lines().size(), 22U);
    EXPECT_EQ(log.lines()[0], R"([qwen] x: {"a":")" + std::string(391, 'b'));
    EXPECT_EQ(log.lines()[20], "[qwen] further messages are not shown");
    EXPECT_EQ(log.lines()[21], "[qwen] server error [c] m");
}

TEST(ServerEventHandler, WritesDebugLinesOnlyWithinTheirBudgets) {
    const test::LogCapture log;
    DebugBudget::debugAllRemaining = 1;
    DebugBudget::debugDumpsRemaining = 1;
    const std::string longText(500, 'a');
    const auto event = R"({"type":"session.created","x":")" + longText + R"("})";
    play({R"({"type":"response.audio.delta","delta":""})", event, event, source(R"("delta":"1")"),
          source(R"("delta":"2")")});
    EXPECT_THAT(log.lines(), ElementsAre("[qwen.all] " + event.substr(0, 400),
                                         R"([qwen.dump] conversation.item.input_audio_transcription.text: )" +
                                             source(R"("delta":"1")")));
    EXPECT_EQ(DebugBudget::debugAllRemaining, 0);
    EXPECT_EQ(DebugBudget::debugDumpsRemaining, 0);
}

}  // namespace
}  // namespace tarn
