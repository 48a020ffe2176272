// The sink fed by hand, and the file beside it.

#include "TarnCore/audio/AudioSink.h"

#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <vector>

#include "TarnPlatform/audio/SoundFile.h"
#include "support/LogCapture.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

const AudioFormat planar{CommonFormat::float32, 48000, 2, false, std::nullopt};
const AudioFormat interleaved{CommonFormat::float32, 44100.5, 2, true, std::nullopt};

using Planes = std::vector<std::vector<float>>;

struct NoStream : CaptureStream {
    Result<void> addStreamOutput(std::shared_ptr<StreamOutput>, StreamOutputType,
                                 std::shared_ptr<SerialQueue>) override {
        return {};
    }
    Task<Result<void>> startCapture() override { co_return Result<void>(); }
    void stopCapture(std::function<void(Result<void>)>) override {}
};

struct Sink : testing::Test {
    void give(const Planes& planes, std::uint64_t frames, const std::optional<AudioFormat>& of = planar,
              StreamOutputType type = StreamOutputType::audio) {
        std::vector<AudioBuffer> list;
        for (const auto& plane : planes) {
            list.push_back({reinterpret_cast<const std::byte*>(plane.data()), plane.size() * sizeof(float)});
        }
        SampleBuffer buffer;
        buffer.valid = true;
        buffer.formatDescription = of;
        buffer.numSamples = frames;
        buffer.audioBufferList = list;
        sink->stream(none, buffer, type);
    }
    void listen() {
        sink->onPCM = [this](const PcmBuffer& buffer) {
            events.push_back("pcm " + std::to_string(buffer.frameLength()));
            format = buffer.format();
            for (std::uint32_t plane = 0; plane < buffer.planeCount(); ++plane) {
                const float* samples = buffer.floatChannelData(plane);
                const std::size_t count =
                    buffer.frameLength() * std::size_t{buffer.format().channelCount / buffer.planeCount()};
                heard.insert(heard.end(), samples, samples + count);
            }
        };
        sink->onLevel = [this](float value) { events.push_back("level " + std::to_string(value)); };
    }

    test::LogCapture log;
    NoStream none;
    std::unique_ptr<AudioSink> sink = std::make_unique<AudioSink>();
    std::vector<std::string> events;
    std::optional<AudioFormat> format;
    std::vector<float> heard;
};

TEST_F(Sink, HandsOnEveryBufferInItsOwnFormatThenItsLevel) {
    listen();
    give({{1, -1, 1}, {-1, 1, -1}}, 3);
    EXPECT_THAT(heard, ElementsAre(1, -1, 1, -1, 1, -1));
    give({{0, 0}, {0, 0}}, 2);
    give({{0.5F, 0, 0.5F, 0}}, 2, interleaved);
    EXPECT_EQ(format, interleaved);
    EXPECT_THAT(events,
                ElementsAre("pcm 3", "level 1.000000", "pcm 2", "level 0.000000", "pcm 2", "level 0.353553"));
    EXPECT_EQ(sink->audioBuffers(), 3);
    EXPECT_EQ(sink->audioFrames(), 7);
    EXPECT_EQ(sink->inputFormat(), planar);
    EXPECT_THAT(log.lines(), ElementsAre("[capture] input format: 48000.0Hz 2ch interleaved=false"));
}

TEST_F(Sink, DropsWhatItCannotConvertAndOnlyCountsPictures) {
    listen();
    give({{1}, {1}}, 1, std::nullopt);
    give({{1}, {1}}, std::numeric_limits<std::uint32_t>::max());
    give({{}, {}}, 0);
    give({{1}}, 1);
    EXPECT_EQ(sink->audioBuffers(), 4);
    give({{1}, {1}}, 1, planar, StreamOutputType::screen);
    EXPECT_EQ(sink->videoFrames(), 1);
    EXPECT_EQ(sink->audioBuffers(), 4);
    EXPECT_EQ(sink->audioFrames(), 0);
    EXPECT_THAT(events, testing::IsEmpty());
    sink->stream(none, Error{ErrorKind::closed, "gone"});
    EXPECT_EQ(log.lines().back(), "[capture] stream stopped: gone");
}

TEST_F(Sink, TriesAFileAgainWithEveryBufferAndAppendsToIt) {
    const test::TemporaryFolder folder;
    for (const char* name : {"missing/a.wav", "a.mp3"}) {
        sink->outputFile = folder.file(name);
        give({{1}, {1}}, 1);
    }
    auto lines = log.lines("[capture] open file failed: ");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], HasSubstr(folder.file("missing/a.wav: ")));
    EXPECT_THAT(lines[1], EndsWith("a.mp3: is neither a .wav nor a .flac file"));
    for (const char* name : {"a.wav", "b.FLAC"}) {
        sink->outputFile = folder.file(name);
        give({{0.5F, -0.25F}, {0, 0.125F}}, 2);
        give({{0.75F}, {-0.5F}}, 1);
        give({{1, 1}}, 1, interleaved);  // another format cannot be appended
        sink = std::make_unique<AudioSink>();
        auto reader = SoundFileReader::open(folder.file(name));
        ASSERT_TRUE(reader) << reader.error().description;
        const auto buffer = reader->read(10).value();
        ASSERT_EQ(buffer.frameLength(), 3U);
        const std::vector<float> samples(buffer.floatChannelData(), buffer.floatChannelData() + 6);
        EXPECT_THAT(samples, ElementsAre(0.5F, 0, -0.25F, 0.125F, 0.75F, -0.5F)) << name;
    }
    EXPECT_EQ(log.lines("[capture] write failed: ").size(), 2U);
}

}  // namespace
}  // namespace tarn
