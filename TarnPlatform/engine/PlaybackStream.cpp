#include "PlaybackStream.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

constexpr float whisper = 0.001F;            // -60 dB
constexpr std::int64_t pause = 250'000'000;  // ns

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

PlaybackStream::PlaybackStream(AudioServer& server, AudioNode& end, StereoPlace& place, std::uint32_t rate,
                               std::shared_ptr<EchoReference> reference, std::shared_ptr<DuckingVoice> voice)
    : KeptStream(server, description(rate), "[dub]"),
      end_(end),
      place_(place),
      rate_(rate),
      reference_(std::move(reference)),
      voice_(std::move(voice)) {}

Result<void> PlaybackStream::start(const std::string& group) {
    if (place_.place() != 0) {
        haveTwoChannels();
    }
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

void PlaybackStream::watched() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
    if (!isStereo_ && place_.place() != 0 && stream() != nullptr && stream()->isStreaming() &&
        now - heardAt_ > pause) {
        dropStream();
        haveTwoChannels();
        makeStream();
    }
}

void PlaybackStream::haveTwoChannels() {
    // A single loudspeaker gets the mean of both channels, whose sum may be too loud; and those at the back
    // get nothing, since what they would be given is the difference, which is large beside the middle.
    setLayout({"FL", "FR"}, {{"channelmix.normalize", "true"}, {"channelmix.upmix", "false"}});
    isStereo_ = true;
}

void PlaybackStream::renderRt(std::span<float> samples, std::int64_t time) noexcept {
    const std::size_t frames = isStereo_ ? samples.size() / 2 : samples.size();
    for (std::size_t done = 0; done < frames;) {
        const std::size_t count = std::min<std::size_t>(frames - done, mostFrames);
        const auto mono = isStereo_ ? std::span(mono_).first(count) : samples.subspan(done, count);
        end_.renderRt(mono);
        if (isStereo_) {
            place_.renderRt(mono, samples.subspan(2 * done, 2 * count));
        }
        if (reference_ != nullptr) {
            reference_->playedRt(mono, time + static_cast<std::int64_t>(done) * 1'000'000'000 / rate_);
        }
        done += count;
    }
    if (std::ranges::any_of(samples, [](float sample) { return std::abs(sample) > whisper; })) {
        heardAt_ = time;
        if (voice_ != nullptr) {
            voice_->heardRt(time);
        }
    }
}

}  // namespace tarn
