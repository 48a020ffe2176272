// Turns other programs down for as long as it lives, as a session does whose translation never ends; made to
// be killed.

#include <unistd.h>

#include <cmath>
#include <iostream>
#include <numbers>

#include "TarnPlatform/engine/AudioEngine.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"

int main() {
    const auto engine = tarn::AudioEngine::make({.volumeKeeper = TARN_BIN_DIR "/tarn-unduck"});
    const auto player = std::make_shared<tarn::AudioPlayerNode>();
    const tarn::AudioFormat format{tarn::CommonFormat::float32, 24000, 1, false, std::nullopt};
    engine->attach(player);
    engine->connect(*player, engine->mainMixerNode(), format);
    auto& input = engine->inputNode();
    const auto processed = input.setVoiceProcessingEnabled(true);
    input.installTap(0, 1024, input.inputFormat(0), [](const tarn::PcmBuffer&) {});
    auto tone = tarn::PcmBuffer::make(format, 24000 * 300);
    tone->setFrameLength(tone->frameCapacity());
    for (std::uint32_t frame = 0; frame < tone->frameLength(); ++frame) {
        tone->floatChannelData()[frame] =
            0.1F * static_cast<float>(std::sin(2 * std::numbers::pi * 900 * frame / 24000));
    }
    player->scheduleBuffer(std::move(*tone));
    const auto started = engine->start();
    if (!processed || !started) {
        std::cerr << "not started\n";
        return 1;
    }
    player->play();
    ::pause();
}
