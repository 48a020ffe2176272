// Whatever a program plays and whatever it plays to, a capture has the level of the program's own sound: real
// players with a tone of its own in every channel, on sinks of every layout.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <vector>

#include "CaptureSession.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"

namespace tarn {
namespace {

constexpr std::array<double, 6> tones{440, 660, 880, 60, 1320, 1760};
constexpr double tonePeak = 0.1;

// FL FR FC LFE RL RR folded to left and right.
struct Weights {
    double left;
    double right;
};
constexpr std::array<Weights, 6> surround{
    {{1, 0}, {0, 1}, {0.7071, 0.7071}, {0.3536, 0.3536}, {0.7071, 0}, {0, 0.7071}}};

Weights weightsOf(unsigned channels, std::size_t channel) {
    return channels == 1 ? Weights{1, 1} : surround[channel];
}

// With the channels' positions in its header, as programs that play surround sound have it.
void writeTones(const std::filesystem::path& path, unsigned channels, double rate, bool positions) {
    std::vector<float> samples;
    for (std::size_t frame = 0; frame < static_cast<std::size_t>(20 * rate); ++frame) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const double turn = 2 * M_PI * tones[channel] * static_cast<double>(frame) / rate;
            samples.push_back(static_cast<float>(tonePeak * std::sin(turn)));
        }
    }
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = (positions ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (channels == 6) {
        std::array<int, 6> map{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT,     SF_CHANNEL_MAP_CENTER,
                               SF_CHANNEL_MAP_LFE,  SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT};
        sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(), sizeof map);
    }
    sf_write_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

/// What is wrong with a source's tones after the capture; empty: nothing.
std::string faults(const test::CaptureProbe::Stereo& heard, unsigned channels, bool isMono) {
    std::ostringstream text;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        auto [left, right] = weightsOf(channels, channel);
        if (isMono) {
            left = right = (left + right) / 2;
        }
        const std::array<double, 2> expected{left, right};
        for (std::size_t side = 0; side < 2; ++side) {
            const double level = test::toneLevel(heard[side], tones[channel], 48000);
            const double wanted = 20 * std::log10(tonePeak * expected[side]);
            const bool isRight =
                expected[side] == 0 ? level < -90 : level > wanted - 0.1 && level < wanted + 0.1;
            if (!isRight) {
                text << "channel " << channel << " has " << level << " dB in place of " << wanted
                     << (side == 0 ? " on the left; " : " on the right; ");
            }
        }
    }
    return text.str();
}

class CaptureLevel : public testing::TestWithParam<const char*> {};

TEST_P(CaptureLevel, IsThatOfTheSourceOnASink) {
    test::CaptureSession session;
    const std::string layout = GetParam();
    session.session.addSink("surround", layout);
    const auto capture = session.captureAll();
    ASSERT_TRUE(capture.started) << capture.started.error().description;
    const struct {
        unsigned channels;
        double rate;
        bool positions = true;  // a single channel with one is a centre
    } sources[] = {{1, 48000, false}, {1, 44100}, {2, 48000}, {2, 44100}, {6, 48000}, {6, 44100}};
    for (const auto& [channels, rate, positions] : sources) {
        const auto file = session.session.newFile(".wav");
        writeTones(file, channels, rate, positions);
        for (const auto program :
             {test::PlayerOptions::Program::pwCat, test::PlayerOptions::Program::paplay}) {
            test::Player player(session.session, file, {.program = program, .target = "surround"});
            std::string wrong;
            EXPECT_TRUE(capture.probe->becomesSo(0.4,
                                                 [&](const auto& heard) {
                                                     wrong = faults(heard, channels, layout == "MONO");
                                                     return wrong.empty();
                                                 }))
                << channels << " channels at " << rate
                << (program == test::PlayerOptions::Program::paplay ? " by paplay: " : ": ") << wrong;
            player.stop();
        }
    }
    EXPECT_TRUE(capture.stop());
}

INSTANTIATE_TEST_SUITE_P(Sinks, CaptureLevel,
                         testing::Values("MONO", "FL,FR", "FL,FR,FC,LFE,RL,RR", "FL,FR,FC,LFE,SL,SR",
                                         "FL,FR,FC,LFE,RL,RR,SL,SR"),
                         [](const auto& layout) {
                             std::string name = layout.param;
                             std::erase(name, ',');
                             return name;
                         });

}  // namespace
}  // namespace tarn
