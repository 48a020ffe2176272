#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureSource.h"
#include "SessionServices.h"
#include "TarnApp/server/TarnServerError.h"
#include "TarnApp/server/TarnTranslateStream.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnCore/realtime/QwenConfig.h"
#include "TarnPlatform/base/Gate.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// Why a run did not come up.
struct PipelineFailure {
    std::string description;      ///< for the user
    bool meansSignedOut = false;  ///< the server does not accept the token, or there is none
    std::string diagnosis = {};   ///< the server's failure for the log; empty: of another kind
};

template <typename T>
using PipelineResult = std::expected<T, PipelineFailure>;

/// Takes one piece of s16le, 16 kHz, mono; never waits, never fails. Thread: any.
using SendAudio = std::function<void(std::vector<std::byte>)>;

/// The objects of one run. Copies share them. Thread: main.
struct SessionPipeline {
    /// The session's settings as a start found them.
    struct Settings {
        QwenConfig config;
        CaptureSource captureSource = CaptureSource::system;
        std::string applicationBundleID;
        std::optional<std::string> micDeviceUID;  ///< none: the default one
        bool voiceProcessing = true;
        std::string sourceName;  ///< as people know it
    };

    std::shared_ptr<AudioPlayer> player;
    std::shared_ptr<AudioSink> sink;
    std::shared_ptr<CaptureStream> stream;
    std::shared_ptr<MicSession> micSession;
    std::shared_ptr<AudioResampler> resampler;
    std::shared_ptr<TarnTranslateStream> serverStream;
    TaskHandle serverStreamTask;
    std::shared_ptr<std::atomic<bool>> isHeard;         ///< what is captured is passed on
    std::shared_ptr<std::atomic<std::uint64_t>> given;  ///< bytes of sound that the stream was given
    std::shared_ptr<void> soundWatch;
    std::optional<SerialExecutor> sound;  ///< where this run's player or microphone is started and stopped

    bool isEmpty() const;

    /// From now on nothing that is captured goes out, whether the capture ends at once or not. Thread: any.
    void stopHearing() const;

    /// Stops the capture of `parts` and waits for that; a failure is ignored.
    static Task<void> endCapture(SessionPipeline& parts);

    /// Stops capture, stream, player and microphone, in this order, waiting for each. A failure to stop the
    /// capture is ignored. Requires: the task is not cancelled.
    static Task<void> takeApart(SessionPipeline parts);
};

/// A start on its way: what it has made so far. Whoever abandons it takes the parts; what is still being made
/// then, the start itself takes apart when it comes. Thread: main.
struct SessionAttempt {
    SessionPipeline parts;
    TaskHandle task;
    bool isAbandoned = false;

    SessionPipeline abandon();
};

/// The teardowns of one session, which go on when the session is gone. Thread: main. Owned by `shared_ptr`.
class SessionTeardowns : public std::enable_shared_from_this<SessionTeardowns> {
public:
    /// One teardown: over when `done` opens, and not before all that were entered before it.
    struct Turn {
        std::optional<Gate> before;
        Gate done;
    };

    explicit SessionTeardowns(SerialExecutor main) : main_(std::move(main)) {}

    /// Requires: the caller opens `done`, after `before`.
    Turn enter();
    /// Takes `parts` apart in the background.
    void begin(SessionPipeline parts);
    /// Completes when nothing is being taken apart. Cancelling the coroutine throws.
    static Task<void> settled(std::shared_ptr<const SessionTeardowns> self);

private:
    static Task<void> carryThrough(SessionPipeline parts, Turn turn);

    const SerialExecutor main_;
    std::optional<Gate> last_;
};

}  // namespace tarn
