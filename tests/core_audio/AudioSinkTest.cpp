// The sink fed by hand: every kind of buffer that a capture may bring, and the file beside it.

#include "TarnCore/audio/AudioSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "CaptureStreamStub.h"
#include "TarnPlatform/audio/SoundFile.h"
#include "support/LogCapture.h"
#include "support/Program.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const AudioFormat planar{CommonFormat::float32, 48000, 2, false, std::nullopt};
const AudioFormat interleaved{CommonFormat::float32, 44100.5, 2, true, std::nullopt};

/// A sample buffer with its memory.
struct Samples {
    AudioFormat format = planar;
    std::vector<std::vector<float>> planes;
    std::uint64_t frames = planes.empty() ? 0 : planes[0].size();
    bool valid = true;
    bool hasFormat = true;
    bool hasList = true;

    void give(AudioSink& sink, StreamOutputType type = StreamOutputType::audio) const {
        std::vector<AudioBuffer> list;
        for (const auto& plane : planes) {
            list.push_back({plane.empty() ? nullptr : reinterpret_cast<const std::byte*>(plane.data()),
                            plane.size() * sizeof(float)});
        }
        SampleBuffer buffer;
        buffer.valid = valid;
        if (hasFormat) {
            buffer.formatDescription = format;
        }
        buffer.numSamples = frames;
        if (hasList) {
            buffer.audioBufferList = list;
        }
        test::CaptureStreamStub stream;
        sink.stream(stream, buffer, type);
    }
};

class Sink : public testing::Test {
protected:
    Sink() {
        sink.onPCM = [this](const PcmBuffer& buffer) {
            events.push_back("pcm " + std::to_string(buffer.frameLength()));
            format = buffer.format();
            for (std::uint32_t plane = 0; plane < buffer.planeCount(); ++plane) {
                const float* samples = buffer.floatChannelData(plane);
                const std::size_t count =
                    buffer.frameLength() * std::size_t{buffer.format().channelCount / buffer.planeCount()};
                heard.insert(heard.end(), samples, samples + count);
            }
        };
        sink.onLevel = [this](float value) {
            events.emplace_back("level");
            level = value;
        };
    }

    test::LogCapture log;
    AudioSink sink;
    std::vector<std::string> events;
    std::optional<AudioFormat> format;
    std::vector<float> heard;
    float level = -1;
};

TEST_F(Sink, HandsOnEveryBufferInItsOwnFormatThenItsLevel) {
    Samples{.planes = {{1, -1, 1}, {-1, 1, -1}}}.give(sink);
    EXPECT_EQ(level, 1.0F);
    EXPECT_THAT(heard, ElementsAre(1, -1, 1, -1, 1, -1));
    Samples{.planes = {{0, 0}, {0, 0}}}.give(sink);
    EXPECT_EQ(level, 0.0F);
    Samples{.format = interleaved, .planes = {{0.5F, 0, 0.5F, 0}}, .frames = 2}.give(sink);
    EXPECT_FLOAT_EQ(level, std::sqrt(0.125F));
    EXPECT_EQ(format, interleaved);
    EXPECT_THAT(events, ElementsAre("pcm 3", "level", "pcm 2", "level", "pcm 2", "level"));
    EXPECT_EQ(sink.audioBuffers(), 3);
    EXPECT_EQ(sink.audioFrames(), 7);
    EXPECT_EQ(sink.inputFormat(), planar);
    EXPECT_THAT(log.lines(), ElementsAre("[capture] input format: 48000.0Hz 2ch interleaved=false"));
}

TEST_F(Sink, NamesTheFirstFormatWithAllItsDigits) {
    Samples{.format = interleaved, .planes = {{0, 0}}, .frames = 1}.give(sink);
    EXPECT_THAT(log.lines(), ElementsAre("[capture] input format: 44100.5Hz 2ch interleaved=true"));
}

TEST_F(Sink, DropsWhatItCannotConvert) {
    AudioFormat unknown = planar;
    unknown.commonFormat = CommonFormat::other;
    const struct {
        const char* what;
        Samples samples;
        int counted;
    } cases[] = {
        {"invalid", {.planes = {{1}, {1}}, .valid = false}, 0},
        {"without a format", {.planes = {{1}, {1}}, .hasFormat = false}, 1},
        {"of an unknown format", {.format = unknown, .planes = {{1}, {1}}}, 1},
        {"without frames", {.planes = {{}, {}}, .frames = 0}, 1},
        {"with more frames than can be counted",
         {.planes = {{1}, {1}}, .frames = std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1},
         1},
        {"with more frames than memory",
         {.planes = {{1}, {1}}, .frames = std::numeric_limits<std::uint32_t>::max()},
         1},
        {"without a list", {.planes = {{1}, {1}}, .hasList = false}, 1},
        {"with one plane too few", {.planes = {{1}}}, 1},
        {"with one plane too many", {.planes = {{1}, {1}, {1}}}, 1},
    };
    for (const auto& [what, samples, counted] : cases) {
        const auto before = sink.audioBuffers();
        samples.give(sink);
        EXPECT_EQ(sink.audioBuffers() - before, counted) << what;
    }
    EXPECT_EQ(sink.audioFrames(), 0);
    EXPECT_THAT(events, testing::IsEmpty());
}

TEST_F(Sink, CopiesNoMoreThanBothSidesHave) {
    Samples{.planes = {{1, 2, 3, 4}, {}}, .frames = 3}.give(sink);
    EXPECT_THAT(heard, ElementsAre(1, 2, 3, 0, 0, 0));
    heard.clear();
    Samples{.planes = {{1}, {5, 6}}, .frames = 2}.give(sink);
    EXPECT_THAT(heard, ElementsAre(1, 0, 5, 6));
}

TEST_F(Sink, GivesIntegerSamplesNoLevel) {
    const AudioFormat whole{CommonFormat::int32, 48000, 1, false, std::nullopt};
    sink.onPCM = {};
    Samples{.format = whole, .planes = {{1, 1}}}.give(sink);
    EXPECT_EQ(level, 0.0F);
}

TEST_F(Sink, OnlyCountsPicturesAndIgnoresTheRest) {
    Samples{.planes = {{1}, {1}}}.give(sink, StreamOutputType::screen);
    Samples{.planes = {{1}, {1}}}.give(sink, StreamOutputType::microphone);
    EXPECT_EQ(sink.videoFrames(), 1);
    EXPECT_EQ(sink.audioBuffers(), 0);
    test::CaptureStreamStub stream;
    sink.stream(stream, Error{ErrorKind::closed, "gone"});
    EXPECT_THAT(log.lines(), ElementsAre("[capture] stream stopped: gone"));
}

TEST_F(Sink, WritesAFileThatOnlyItsOwnerCanRead) {
    const test::TemporaryFolder folder;
    for (const char* name : {"a.wav", "b.FLAC"}) {
        const std::string path = folder.file(name);
        {
            AudioSink writing;
            writing.outputFile = path;
            Samples{.planes = {{0.5F, -0.25F}, {0, 0.125F}}}.give(writing);
            Samples{.planes = {{0.75F}, {-0.5F}}}.give(writing);
        }
        struct stat status{};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
        auto reader = SoundFileReader::open(path);
        ASSERT_TRUE(reader) << reader.error().description;
        EXPECT_EQ(reader->format().sampleRate, 48000);
        const auto buffer = reader->read(10).value();
        ASSERT_EQ(buffer.frameLength(), 3U);
        const std::vector<float> samples(buffer.floatChannelData(), buffer.floatChannelData() + 6);
        EXPECT_THAT(samples, ElementsAre(0.5F, 0, -0.25F, 0.125F, 0.75F, -0.5F)) << name;
    }
}

TEST_F(Sink, TriesAFileAgainWithEveryBufferAndGoesOnWithoutIt) {
    const test::TemporaryFolder folder;
    sink.outputFile = folder.file("missing/a.wav");
    Samples{.planes = {{1}, {1}}}.give(sink);
    sink.outputFile = folder.file("a.mp3");
    Samples{.planes = {{1}, {1}}}.give(sink);
    sink.outputFile = folder.file("a.wav");
    Samples{.planes = {{1}, {1}}}.give(sink);
    // Now open: another format cannot be appended.
    Samples{.format = interleaved, .planes = {{1, 1}}, .frames = 1}.give(sink);
    const auto lines = log.lines("[capture] ");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[1], StartsWith("[capture] open file failed: " + folder.file("missing/a.wav: ")));
    EXPECT_EQ(lines[2],
              "[capture] open file failed: " + folder.file("a.mp3: is neither a .wav nor a .flac file"));
    EXPECT_THAT(lines[3], StartsWith("[capture] write failed: " + folder.file("a.wav: ")));
    EXPECT_EQ(sink.audioFrames(), 4);
}

}  // namespace
}  // namespace tarn
