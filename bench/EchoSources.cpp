// What is left in a microphone of what the loudspeaker plays, whoever plays it: this source's own dub,
// another source's, another program. An audio server of its own, whose loudspeaker's monitor is linked to the
// microphone; the same speech each time, without voice processing and with it. Takes about two minutes.
//
// One line each: RMS in dB of full scale of what a microphone session gives, after 4 s, in steps of 2 s: the
// quietest and the loudest.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "TarnCore/audio/AudioPlayer.h"
#include "TarnCore/audio/MicSession.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/SoundFiles.h"
#include "support/audio/Until.h"

namespace tarn::bench {
namespace {

constexpr double firstSecond = 4;
constexpr double step = 2;  // seconds
constexpr int steps = 4;

/// What a microphone session gives.
class Heard {
public:
    explicit Heard(MicSession& session) {
        session.onPCM = [this](const PcmBuffer& buffer) {
            const std::lock_guard lock(mutex_);
            rate_ = buffer.format().sampleRate;
            samples_.insert(samples_.end(), buffer.floatChannelData(),
                            buffer.floatChannelData() + buffer.frameLength());
        };
    }

    void forget() {
        const std::lock_guard lock(mutex_);
        samples_.clear();
    }

    /// Of each step, once the last is over.
    std::vector<double> levels() {
        test::until("the microphone has heard enough", [&] {
            const std::lock_guard lock(mutex_);
            return static_cast<double>(samples_.size()) > (firstSecond + steps * step) * rate_ && rate_ > 0;
        });
        const std::lock_guard lock(mutex_);
        std::vector<double> levels;
        for (int i = 0; i < steps; ++i) {
            const auto from = static_cast<std::size_t>((firstSecond + i * step) * rate_);
            const auto part = std::span(samples_).subspan(from, static_cast<std::size_t>(step * rate_));
            levels.push_back(20 * std::log10(test::rms(part) + 1e-9));
        }
        return levels;
    }

private:
    std::mutex mutex_;
    std::vector<float> samples_;
    double rate_ = 0;
};

enum class Speaker { own, anotherSource, anotherProgram };

void measure(test::PrivateAudioServer& server, const std::filesystem::path& file, Speaker speaker,
             bool voiceProcessing) {
    const test::Sound sound = test::readSound(file);
    std::vector<std::int16_t> whole(sound.samples.size());
    std::ranges::transform(sound.samples, whole.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * 32767));
    });
    const auto bytes = toServiceBytes(whole);

    const auto session = std::make_shared<MicSession>();
    Heard heard(*session);
    AudioPlayer another;
    std::optional<test::Player> program;
    if (!session->start(1, voiceProcessing, std::nullopt) || !another.start(1)) {
        throw std::runtime_error("the session does not start");
    }
    if (speaker == Speaker::own) {
        session->enqueueAudio(bytes);
    } else if (speaker == Speaker::anotherSource) {
        another.enqueue(bytes);
    } else {
        program.emplace(server, file);
    }
    heard.forget();
    const auto levels = heard.levels();
    std::printf("| %s | %s | %.1f … %.1f |\n",
                speaker == Speaker::own             ? "own dub"
                : speaker == Speaker::anotherSource ? "another source's dub"
                                                    : "another program",
                voiceProcessing ? "on" : "off", std::ranges::min(levels), std::ranges::max(levels));
    std::fflush(stdout);
    session->stop();
    another.stop();
}

void measureAll() {
    test::PrivateAudioServer server;
    for (const std::string channel : {"FL", "FR"}) {
        server.answer({"pw-link", std::string(test::PrivateAudioServer::output) + ":monitor_" + channel,
                       std::string(test::PrivateAudioServer::microphoneFeed) + ":playback_" + channel});
    }
    const auto spoken = server.speechFile(
        "The weather will stay fine until Sunday evening, and then rain is expected in the north. "
        "Please take your seats, the train to the coast leaves in five minutes from platform two. "
        "We shall meet again tomorrow morning at nine, in the large room on the second floor. "
        "Nobody knows what will happen after the election, but the price of oil has gone up again.");
    const auto file = server.newFile(".wav");
    server.answer({"sox", spoken.string(), "-r", "24000", "-c", "1", file.string(), "gain", "-3"});
    std::printf("| the loudspeaker plays | voice processing | in the microphone, dB |\n|---|---|---|\n");
    for (const bool voiceProcessing : {false, true}) {
        for (const Speaker speaker : {Speaker::own, Speaker::anotherSource, Speaker::anotherProgram}) {
            measure(server, file, speaker, voiceProcessing);
        }
    }
}

}  // namespace
}  // namespace tarn::bench

int main() {
    try {
        tarn::bench::measureAll();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "echo_sources: %s\n", error.what());
        return 1;
    }
}
