#include "PlaybackStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

constexpr float whisper = 0.001F;  // -60 dB

GraphStream::Description description(std::uint32_t rate) {
    GraphStream::Description stream;
    stream.name = "Tarn";
    // The stream has no role, because the desktop remembers one volume for all programs of a role.
    stream.properties = {{"node.name", "tarn.dub"}, {"application.name", "Tarn"}};
    stream.rate = rate;
    stream.channelNames = {"MONO"};
    stream.autoconnect = true;
    return stream;
}

}  // namespace

PlaybackStream::PlaybackStream(AudioServer& server, AudioNode& end, std::uint32_t rate,
                               std::shared_ptr<EchoReference> reference, std::shared_ptr<DuckingVoice> voice)
    : KeptStream(server, description(rate), "[dub]"),
      end_(end),
      reference_(std::move(reference)),
      voice_(std::move(voice)) {}

Result<void> PlaybackStream::start(const std::string& group) {
    Result<void> started = follow(group);
    if (started) {
        const AudioServer::Lock lock(server());
        const bool done = server().waitUntil([this] { return !made() || isLost() || isTaken(); });
        if (!made()) {
            started = made();
        } else if (!done || isLost()) {
            started = reasonForNotStarting();
        } else {
            keepLinked();
        }
    }
    if (!started) {
        stop();
    }
    return started;
}

std::unexpected<Error> PlaybackStream::reasonForNotStarting() const {
    if (server().core() == nullptr) {
        return audioServerAbsent();
    }
    if (stream() != nullptr && !stream()->nodeId()) {
        return audioServerSilent();
    }
    return failure(
        ErrorKind::unavailable,
        "the audio session manager (WirePlumber) gives the sound no output: restart it with PipeWire");
}

// A stream counts as taken before anything plays: the session manager gives it its ports before it links
// them.
bool PlaybackStream::isTaken() const {
    if (stream() == nullptr) {
        return false;
    }
    const auto node = stream()->nodeId();
    return node && (stream()->isStreaming() ||
                    std::ranges::any_of(server().graph().ports,
                                        [&](const auto& port) { return port.second.node == *node; }));
}

void PlaybackStream::renderRt(std::span<float> samples, std::int64_t time) noexcept {
    for (std::size_t done = 0; done < samples.size();) {
        const auto piece = samples.subspan(done, std::min<std::size_t>(samples.size() - done, mostFrames));
        end_.renderRt(piece);
        done += piece.size();
    }
    if (reference_ != nullptr) {
        reference_->playedRt(samples, time);
    }
    if (voice_ != nullptr &&
        std::ranges::any_of(samples, [](float sample) { return std::abs(sample) > whisper; })) {
        voice_->heardRt(time);
    }
}

}  // namespace tarn
