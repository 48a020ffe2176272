#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

/// What the desktop's sound lacks.
struct MissingSound {
    bool server = false;      ///< the audio server; nothing else is said to be missing then
    bool manager = false;     ///< the session manager, without which no new sound is connected
    bool microphone = false;  ///< the one that is captured
    bool output = false;      ///< every output

    bool operator==(const MissingSound&) const = default;
};

/// Tells what becomes of the desktop's sound while something captures or plays.
/// Thread: any but the audio server's loop; made and destroyed without waiting.
class SoundWatch final : private AudioServerObserver {
public:
    struct Microphone {
        std::optional<std::string> chosen;  ///< its UID; none, or where it is not there: the default
    };

    /// `changed` is called at every change, and at first if anything is missing. Thread: the audio server's
    /// loop, held; not after the destruction.
    SoundWatch(AudioServer& server, std::optional<Microphone> microphone,
               std::function<void(const MissingSound&)> changed);
    ~SoundWatch();
    SoundWatch(const SoundWatch&) = delete;
    SoundWatch& operator=(const SoundWatch&) = delete;

private:
    void disconnected() override;
    void graphChanged(const Graph& graph) override;

    MissingSound missingIn(const Graph& graph) const;
    void tell(const MissingSound& missing);

    AudioServer& server_;
    std::optional<Microphone> microphone_;
    const std::function<void(const MissingSound&)> changed_;
    // The loop's.
    MissingSound told_;
    std::unique_ptr<AudioServer::Timer> retry_;  // while there has been no server yet
};

}  // namespace tarn
