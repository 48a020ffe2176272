// Captured buffers in, the service's bytes out.

#include "TarnCore/audio/AudioResampler.h"

#include <gmock/gmock.h>

#include "platform_audio/Signal.h"
#include "support/LogCapture.h"

namespace tarn {
namespace {

using test::bufferOf;
using test::fitTone;
using test::tone;
using testing::ElementsAre;
using testing::IsEmpty;

struct Resampler : testing::Test {
    std::vector<float> samplesOf(const std::vector<std::byte>& bytes) const {
        std::vector<float> samples;
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            const auto low = std::to_integer<unsigned>(bytes[i]);
            const auto high = std::to_integer<unsigned>(bytes[i + 1]);
            samples.push_back(static_cast<float>(static_cast<std::int16_t>(high << 8 | low)) / 32768);
        }
        return samples;
    }

    AudioResampler resampler_;
    test::LogCapture log;
};

const AudioFormat captured{CommonFormat::float32, 48000, 2, true, std::nullopt};
const AudioFormat hopeless{CommonFormat::int16, 500, 1, true, std::nullopt};

PcmBuffer silence(const AudioFormat& format, std::uint32_t frames) {
    auto buffer = PcmBuffer::make(format, frames).value();
    buffer.setFrameLength(frames);
    return buffer;
}

TEST_F(Resampler, JoinsBuffersOfUnevenSizesToOneStream) {
    const auto input = tone(700, 44100, 2);
    const AudioFormat format{CommonFormat::int16, 44100, 1, true, std::nullopt};
    std::vector<std::byte> all;
    std::size_t at = 0;
    for (std::size_t size = 1; at < input.size(); size = size * 5 % 1301 + 1) {
        const auto count = std::min(size, input.size() - at);
        const std::vector<float> part(input.begin() + static_cast<std::ptrdiff_t>(at),
                                      input.begin() + static_cast<std::ptrdiff_t>(at + count));
        if (const auto bytes = resampler_.process(bufferOf(format, {part}))) {
            EXPECT_LE(bytes->size(), 2 * (count * 160 / 441 + 16));
            all.insert(all.end(), bytes->begin(), bytes->end());
        }
        at += count;
    }
    const auto samples = samplesOf(all);
    EXPECT_EQ(samples.size(), 32000U);
    const auto fit = fitTone(samples, 700, 16000);
    EXPECT_NEAR(fit.amplitude, 0.5, 0.001);
    EXPECT_LT(fit.rest, 0.5e-4);  // a seam would leave more than the rounding
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Resampler, BeginsANewStreamWhenTheFormatChanges) {
    const auto loud =
        bufferOf({CommonFormat::float32, 48000, 1, false, std::nullopt}, {std::vector(480, 1.0F)});
    ASSERT_TRUE(resampler_.process(loud));
    const auto bytes = resampler_.process(silence(captured, 480));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, std::vector<std::byte>(320));  // nothing of the loud stream's tail
    const auto direct = resampler_.process(bufferOf(resampler_.dstFormat(), {{0.5F, -0.5F}}));
    EXPECT_EQ(direct->size(), 4U);
}

TEST_F(Resampler, SaysOnceThatAFormatIsHopelessAndWaitsForAnother) {
    const std::string line = "[resample] AVAudioConverter init failed for 1 ch, 500 Hz, Int16, interleaved";
    EXPECT_FALSE(resampler_.process(silence(hopeless, 100)));
    EXPECT_FALSE(resampler_.process(silence(hopeless, 100)));
    EXPECT_THAT(log.lines(), ElementsAre(line));
    EXPECT_TRUE(resampler_.process(silence(captured, 480)));
    EXPECT_FALSE(resampler_.process(silence(hopeless, 100)));
    EXPECT_THAT(log.lines(), ElementsAre(line, line));
    EXPECT_FALSE(resampler_.process(silence(captured, 0)));
}

}  // namespace
}  // namespace tarn
