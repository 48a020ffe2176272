// What happens to a buffer before it is resampled, and to received bytes before they are played.

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "TarnCore/audio/MicSession.h"
#include "TarnCore/audio/ReceivedAudio.h"
#include "platform_audio/Signal.h"

namespace tarn {
namespace {

TEST(ExtractChannel0, KeepsTheFirstChannelOfEverySampleTypeButDoubles) {
    const std::vector<float> voice = test::tone(300, 48000, 512.0 / 48000);
    const std::vector<float> hum(512, 0.25F);
    for (const auto type : {CommonFormat::float32, CommonFormat::int16, CommonFormat::int32}) {
        for (const bool interleaved : {false, true}) {
            auto mono = MicSession::extractChannel0(
                test::bufferOf({type, 48000, 2, interleaved, std::nullopt}, {voice, hum}));
            ASSERT_TRUE(mono);
            const AudioFormat expected{type, 48000, 1, false, std::nullopt};
            EXPECT_EQ(mono->format(), expected);
            auto original = test::bufferOf(expected, {voice});
            ASSERT_EQ(mono->frameLength(), 512U);
            EXPECT_TRUE(std::ranges::equal(mono->bytes(), original.bytes()));
        }
    }
    const auto doubles =
        test::bufferOf({CommonFormat::float64, 48000, 2, false, std::nullopt}, {{0.5F}, {0.5F}});
    EXPECT_FALSE(MicSession::extractChannel0(doubles)) << "left to the caller";
}

TEST(ReceivedAudio, BecomesFloatsOfFullScaleOne) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view bytes;
        std::vector<float> samples;
    } cases[] = {
        {""sv, {}},
        {"\xFF"sv, {}},
        {"\x00\x80"sv, {-1.0F}},
        {"\x00\x40\xFF\x7F\x01"sv, {0.5F, 32767.0F / 32768}},
        {"\x01\x00\xFF\xFF\x00\x00"sv, {1.0F / 32768, -1.0F / 32768, 0}},
    };
    for (const auto& [bytes, samples] : cases) {
        const auto buffer = decodeReceivedAudio(std::as_bytes(std::span(bytes)));
        ASSERT_EQ(buffer.has_value(), !samples.empty());
        if (buffer) {
            EXPECT_EQ(buffer->format(), (AudioFormat{CommonFormat::float32, 24000, 1, false, std::nullopt}));
            EXPECT_EQ(
                std::vector(buffer->floatChannelData(), buffer->floatChannelData() + buffer->frameLength()),
                samples);
        }
    }
}

}  // namespace
}  // namespace tarn
