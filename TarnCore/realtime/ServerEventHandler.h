#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "StreamProgress.h"

namespace tarn {

/// What a transcript is of: what was heard, or what it was translated into.
enum class TranscriptKind : std::uint8_t { source, translation };

/// An event that the account server's relay adds to the stream.
struct TarnServerEvent {
    enum class Kind : std::uint8_t { error, unauthorized };
    Kind kind = Kind::error;
    std::string message;  ///< of `error`; empty otherwise

    static TarnServerEvent error(std::string text) { return {Kind::error, std::move(text)}; }
    static TarnServerEvent unauthorized() { return {Kind::unauthorized, {}}; }
    bool operator==(const TarnServerEvent&) const = default;
};

using AudioCallback = std::function<void(std::vector<std::byte> pcm)>;  ///< s16le, 24 kHz, mono
using TranscriptCallback = std::function<void(TranscriptKind kind, std::string text, bool isFinal)>;
using TarnEventCallback = std::function<void(TarnServerEvent event)>;   ///< may be empty
using ProgressCallback = std::function<void(StreamProgress progress)>;  ///< may be empty

/// How many more of the optional debug lines may be written; 0: none. Shared by every connection of the
/// process. These lines hold what was said, so nothing raises them unless a developer does.
struct DebugBudget {
    static std::atomic<int> debugDumpsRemaining;
    static std::atomic<int> debugAllRemaining;
};

/// Reads the service's events, puts partial transcripts together and hands everything on.
/// Thread: one executor, where the callbacks are called too, before `handle` returns.
class ServerEventHandler {
public:
    enum class Verdict : std::uint8_t {
        goOn,
        stop,  ///< the service reported an error: the connection is to be treated as dead
    };

    ServerEventHandler(AudioCallback onAudio, TranscriptCallback onTranscript, TarnEventCallback onTarnEvent);

    /// Set before the first event.
    ProgressCallback onProgress;

    /// `text`: one message. What is not a JSON object (nested at most 32 deep) is passed over in silence.
    Verdict handle(std::string_view text);

    /// What the service reported when it said `stop`: "[code] message", in one line.
    const std::string& complaint() const { return complaint_; }

    const AudioCallback& onAudio() const { return onAudio_; }
    const TranscriptCallback& onTranscript() const { return onTranscript_; }
    const TarnEventCallback& onTarnEvent() const { return onTarnEvent_; }

private:
    void tell(std::string_view text);

    const AudioCallback onAudio_;
    const TranscriptCallback onTranscript_;
    const TarnEventCallback onTarnEvent_;
    std::string complaint_;
    int linesTold_ = 0;
    std::string srcBuf_;  ///< source transcript of the current utterance so far
    std::string dstBuf_;  ///< translation of the current utterance so far
};

}  // namespace tarn
