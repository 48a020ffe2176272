// Sound files as people have them: every sample type, cut short, mislabelled, or no sound file at all.

#include "TarnPlatform/audio/SoundFile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "support/Program.h"

namespace tarn {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Wav {
    int tag = 1;  // 1 integers, 3 floats
    int bits = 16;
    int channels = 1;
    std::uint32_t rate = 16000;
    std::string data;
    std::optional<std::uint32_t> claimedBytes = std::nullopt;  // in place of the data's size
    std::optional<std::uint32_t> claimedWhole = std::nullopt;  // in place of the file's size

    std::string bytes() const {
        const auto frame = static_cast<std::uint32_t>(channels * bits / 8);
        const auto size = claimedBytes.value_or(static_cast<std::uint32_t>(data.size()));
        return "RIFF" + number(claimedWhole.value_or(36 + size), 4) + "WAVEfmt " + number(16, 4) +
               number(static_cast<unsigned>(tag), 2) + number(static_cast<unsigned>(channels), 2) +
               number(rate, 4) + number(rate * frame, 4) + number(frame, 2) +
               number(static_cast<unsigned>(bits), 2) + "data" + number(size, 4) + data;
    }

    static std::string number(std::uint32_t value, int size) {
        std::string text;
        for (int i = 0; i < size; ++i) {
            text.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
        }
        return text;
    }
};

template <typename T>
std::string raw(std::initializer_list<T> values) {
    return {reinterpret_cast<const char*>(values.begin()), values.size() * sizeof(T)};
}

struct SoundFile : testing::Test {
    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string file(const std::string& name, const std::string& bytes) const {
        return folder_.write(name, bytes);
    }

    static std::vector<float> readAll(SoundFileReader& reader, std::uint32_t block = 1000) {
        std::vector<float> all;
        for (;;) {
            const auto buffer = reader.read(block).value();
            if (buffer.frameLength() == 0) {
                return all;
            }
            const auto* samples = buffer.floatChannelData();
            all.insert(all.end(), samples,
                       samples + std::size_t{buffer.frameLength()} * buffer.format().channelCount);
        }
    }

    test::TemporaryFolder folder_;
};

TEST_F(SoundFile, IsReadWhateverItsSampleTypeRateAndChannels) {
    const struct {
        Wav wav;
        std::vector<float> samples;
    } cases[] = {
        {{1, 8, 1, 8000, raw<std::uint8_t>({128, 0, 192})}, {0, -1, 0.5F}},
        {{1, 24, 2, 44100, std::string("\0\0\x80\0\0\x40", 6)}, {-1, 0.5F}},
        {{3, 32, 2, 48000, raw<float>({-1, 0.5F, 1.5F, 0})}, {-1, 0.5F, 1.5F, 0}},
        {{3, 64, 1, 192000, raw<double>({-1, 0.25})}, {-1, 0.25F}},
        {{1, 16, 8, 11025, raw<std::int16_t>({0, 0, 0, 0, 0, 0, 0, 16384})}, {0, 0, 0, 0, 0, 0, 0, 0.5F}},
    };
    for (const auto& [wav, samples] : cases) {
        auto reader = SoundFileReader::open(file("a.wav", wav.bytes()));
        ASSERT_TRUE(reader) << reader.error().description;
        const AudioFormat expected{CommonFormat::float32, static_cast<double>(wav.rate),
                                   static_cast<std::uint32_t>(wav.channels), true, std::nullopt};
        EXPECT_EQ(reader->format(), expected) << reader->format().description();
        EXPECT_EQ(readAll(*reader), samples) << wav.bits;
    }
}

TEST_F(SoundFile, IsReadAsFarAsItGoes) {
    const std::string twoFrames = raw<std::int16_t>({8192, -8192, 16384, -16384});
    const std::vector<float> samples{0.25F, -0.25F, 0.5F, -0.5F};
    const struct {
        const char* name;
        std::string bytes;
        std::vector<float> samples;
    } cases[] = {
        {"no frames", Wav{1, 16, 2, 16000, ""}.bytes(), {}},
        {"cut within a frame", Wav{1, 16, 2, 16000, twoFrames + "\1\2\3", 64000}.bytes(), samples},
        {"size never written", Wav{1, 16, 2, 16000, twoFrames, 0, 8}.bytes(), samples},
        {"size of a stream", Wav{1, 16, 2, 16000, twoFrames, 0xFFFFFFFF}.bytes(), samples},
    };
    for (const auto& [name, bytes, expected] : cases) {
        auto reader = SoundFileReader::open(file("a.wav", bytes));
        ASSERT_TRUE(reader) << name << ": " << reader.error().description;
        EXPECT_EQ(readAll(*reader, 1), expected) << name;
    }
}

TEST_F(SoundFile, IsRefusedWithOneClearLineWhereThereIsNoSound) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    const struct {
        std::string path;
        const char* reason;
    } cases[] = {
        {path("missing.wav"), "No such file or directory"},
        {folder_.path(), "is a directory"},
        {path("fifo"), "is not a regular file"},
        {file("empty.wav", ""), "is empty"},
        {file("text.wav", "This is not a sound at all, whatever its name."), "is not a sound file"},
        {file("slow.wav", Wav{1, 16, 1, 10, "\1\1"}.bytes()), "has a sample rate of 10 Hz"},
        {file("wide.wav", Wav{1, 16, 100, 16000, std::string(200, '\1')}.bytes()), "has 100 channels"},
    };
    for (const auto& [path, reason] : cases) {
        const auto reader = SoundFileReader::open(path);
        ASSERT_FALSE(reader) << path;
        EXPECT_THAT(reader.error().description, StartsWith(path + ": "));
        EXPECT_THAT(reader.error().description, HasSubstr(reason));
        EXPECT_THAT(reader.error().description, testing::Not(HasSubstr("\n")));
    }
}

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

TEST_F(SoundFile, IsWrittenForItsOwnerOnlyAndCanBePlayedWhenItsWriterIsKilled) {
    constexpr auto overwrite = std::filesystem::copy_options::overwrite_existing;
    ::umask(0);
    for (const auto& name : {std::string("new.wav"), std::string("old.wav")}) {
        if (name == "old.wav") {
            ASSERT_EQ(::chmod(file(name, std::string(5000, 'x')).c_str(), 0666), 0);
        }
        {
            auto writer = SoundFileWriter::create(path(name), 24000).value();
            ASSERT_TRUE(writer.write(bytesOf(raw<std::int16_t>({16384, -32768}) + "odd").first(5)));
            ASSERT_TRUE(writer.write(bytesOf(raw<std::int16_t>({8192}))));
            std::filesystem::copy_file(path(name), path("killed"), overwrite);  // as it is when it is killed
        }
        for (const auto& whole : {name, std::string("killed")}) {
            auto reader = SoundFileReader::open(path(whole)).value();
            EXPECT_EQ(reader.format().sampleRate, 24000);
            EXPECT_EQ(readAll(reader), (std::vector<float>{0.5F, -1, 0.25F}));
        }
        struct stat status{};
        ASSERT_EQ(::stat(path(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
    }
    for (const auto& place : {folder_.path(), path("no/folder.wav"), std::string("/dev/null")}) {
        const auto writer = SoundFileWriter::create(place, 24000);
        ASSERT_FALSE(writer) << place;
        EXPECT_THAT(writer.error().description, StartsWith(place + ": "));
    }
}

TEST_F(SoundFile, KeepsWhatWasWrittenBeforeTheDiskWasFull) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight{10000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tight);
    Result<void> written;
    {
        auto writer = SoundFileWriter::create(path("a.wav"), 24000).value();
        EXPECT_TRUE(writer.write(bytesOf(std::string(4800, '\1'))));
        written = writer.write(bytesOf(std::string(9600, '\1')));
    }
    ::setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_FALSE(written);
    EXPECT_THAT(written.error().description, StartsWith(path("a.wav") + ": cannot be written"));
    auto reader = SoundFileReader::open(path("a.wav")).value();
    EXPECT_GE(readAll(reader).size(), 2400U);
}

}  // namespace
}  // namespace tarn
