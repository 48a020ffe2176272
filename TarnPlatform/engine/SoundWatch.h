#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

/// What the desktop's sound lacks.
enum class SoundFault : std::uint8_t {
    serverGone,      ///< the audio server; nothing else is told then
    managerGone,     ///< the session manager, without which no new sound is connected
    microphoneGone,  ///< the one that is captured
    outputGone,      ///< every output
};
using SoundFaults = std::set<SoundFault>;

/// Tells what becomes of the desktop's sound while something captures or plays.
/// Thread: any but the audio server's loop; made and destroyed without waiting.
class SoundWatch final : private AudioServerObserver {
public:
    struct Microphone {
        std::optional<std::string> chosen;  ///< its UID; none, or where it is not there: the default
    };

    /// `changed` is told whenever the faults are others than before, the first time if there are any. Thread:
    /// the audio server's loop, held; not after the destruction.
    SoundWatch(AudioServer& server, std::optional<Microphone> microphone,
               std::function<void(SoundFaults)> changed);
    ~SoundWatch();
    SoundWatch(const SoundWatch&) = delete;
    SoundWatch& operator=(const SoundWatch&) = delete;

private:
    void disconnected() override;
    void graphChanged(const Graph& graph) override;

    SoundFaults faultsOf(const Graph& graph) const;
    void tell(SoundFaults faults);

    AudioServer& server_;
    std::optional<Microphone> microphone_;
    const std::function<void(SoundFaults)> changed_;
    // The loop's.
    SoundFaults told_;
    std::unique_ptr<AudioServer::Timer> retry_;  // while there has been no server yet
};

}  // namespace tarn
