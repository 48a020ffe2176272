#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "Heard.h"
#include "TarnPlatform/engine/AudioEngine.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "support/LogCapture.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/PrivateAudioServer.h"
#include "support/audio/Recorder.h"
#include "support/audio/SoundFiles.h"
#include "support/audio/Until.h"

namespace tarn::test {

/// What lives longer than any engine of a test.
struct Session {
    explicit Session(const AudioServerOptions& options = {}) : server(options) {}

    PrivateAudioServer server;
    LogCapture log;
};

/// An engine, with one player that plays into its mixer. Requires: a `Session`.
struct EngineBench {
    static constexpr double dubRate = 24000;

    std::unique_ptr<AudioEngine> engine = AudioEngine::make({.volumeKeeper = TARN_BIN_DIR "/tarn-unduck"});
    std::shared_ptr<AudioPlayerNode> player = std::make_shared<AudioPlayerNode>();
    std::shared_ptr<Heard> heard = std::make_shared<Heard>();

    void connectPlayer() {
        engine->attach(player);
        engine->connect(*player, engine->mainMixerNode(), dubFormat());
    }

    void startPlaying() {
        connectPlayer();
        const auto started = engine->start();
        ASSERT_TRUE(started) << started.error().description;
        player->play();
    }

    AudioFormat tap() {
        const AudioFormat format = engine->inputNode().inputFormat(0);
        engine->inputNode().installTap(0, 1024, format,
                                       [heard = heard](const PcmBuffer& buffer) { heard->take(buffer); });
        return format;
    }

    void schedule(const Sound& sound) {
        auto buffer = PcmBuffer::make(dubFormat(), static_cast<std::uint32_t>(sound.samples.size()));
        buffer->setFrameLength(buffer->frameCapacity());
        std::ranges::copy(sound.samples, buffer->floatChannelData());
        player->scheduleBuffer(std::move(*buffer));
    }

    void scheduleTone(double frequency, double level, double seconds) {
        schedule(tone(frequency, level, seconds, dubRate, 1));
    }

    static AudioFormat dubFormat() { return {CommonFormat::float32, dubRate, 1, false, std::nullopt}; }
};

}  // namespace tarn::test
