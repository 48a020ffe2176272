#include "AudioPlayer.h"

#include <utility>

namespace tarn {

AudioPlayer::AudioPlayer() : AudioPlayer(AudioEngine::make()) {}

AudioPlayer::AudioPlayer(std::unique_ptr<AudioEngine> engine) : engine_(std::move(engine)) {}

Result<void> AudioPlayer::start(float rate) {
    chain_.connect(*engine_, rate);
    auto started = engine_->start();
    if (started) {
        chain_.play();
    }
    return started;
}

void AudioPlayer::stop() {
    chain_.stop();
    engine_->stop();
}

}  // namespace tarn
