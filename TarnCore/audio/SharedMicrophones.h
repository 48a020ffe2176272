#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "TarnPlatform/base/SerialQueue.h"
#include "TarnPlatform/engine/AudioEngine.h"

namespace tarn {

/// Makes engines for microphone sessions, of which those that hear the same microphone, in the same way,
/// share its capture, its voice processing and one resampling.
///
/// An engine is one like any other. The first that starts captures; another plays on a stream of its own and
/// is given the sound of the first, its first channel only. Voice processing hears what the default output
/// plays, so the dubs of all are taken out. Where the first stops before the others, its capture goes on
/// until the last stops. A slow tap does not hold up the others (see `SoundFanOut`).
///
/// Thread: any; engines start and stop one after the other. Owned by `shared_ptr`.
class SharedMicrophones : public std::enable_shared_from_this<SharedMicrophones> {
public:
    using MakeEngine = std::function<std::unique_ptr<AudioEngine>()>;

    explicit SharedMicrophones(MakeEngine make = [] { return AudioEngine::make(); })
        : make_(std::move(make)) {}

    std::unique_ptr<AudioEngine> makeEngine();

private:
    class Source;
    class Engine;
    using Way = std::pair<std::string, bool>;  ///< device, voice processing

    const MakeEngine make_;
    // The queue's.
    std::map<Way, std::weak_ptr<Source>> sources_;

    SerialQueue queue_{"tarn.mic.share"};
};

}  // namespace tarn
