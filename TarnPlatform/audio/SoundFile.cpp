#include "SoundFile.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include "RateConverter.h"
#include "SoundFileHandle.h"

namespace tarn {
namespace {

std::string systemReason() {
    return std::strerror(errno);
}

/// Bytes in memory, for libsndfile to read like a file.
struct Memory {
    std::string_view bytes;
    sf_count_t at = 0;

    static SF_VIRTUAL_IO access;

    sf_count_t size() const { return std::ssize(bytes); }
    sf_count_t seek(sf_count_t offset, int from) {
        const auto base = from == SEEK_SET ? 0 : from == SEEK_CUR ? at : size();
        at = std::clamp<sf_count_t>(base + offset, 0, size());
        return at;
    }
    sf_count_t read(void* to, sf_count_t most) {
        const auto count = std::clamp<sf_count_t>(most, 0, size() - at);
        std::memcpy(to, bytes.data() + at, static_cast<std::size_t>(count));
        at += count;
        return count;
    }
};

SF_VIRTUAL_IO Memory::access{
    .get_filelen = [](void* memory) { return static_cast<Memory*>(memory)->size(); },
    .seek = [](sf_count_t offset, int from,
               void* memory) { return static_cast<Memory*>(memory)->seek(offset, from); },
    .read = [](void* to, sf_count_t most,
               void* memory) { return static_cast<Memory*>(memory)->read(to, most); },
    .write = nullptr,
    .tell = [](void* memory) { return static_cast<Memory*>(memory)->at; }};

}  // namespace

SoundFileReader::SoundFileReader(std::unique_ptr<SoundFileHandle> file, AudioFormat format, std::string path)
    : file_(std::move(file)), format_(std::move(format)), path_(std::move(path)) {}
SoundFileReader::SoundFileReader(SoundFileReader&&) noexcept = default;
SoundFileReader& SoundFileReader::operator=(SoundFileReader&&) noexcept = default;
SoundFileReader::~SoundFileReader() = default;

Result<SoundFileReader> SoundFileReader::open(const std::string& path) {
    // Opening a pipe would wait for its other end if the call were allowed to block.
    auto file = std::make_unique<SoundFileHandle>(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (file->descriptor < 0 || ::fstat(file->descriptor, &status) != 0) {
        return soundFileFailure(ErrorKind::invalidInput, path, systemReason());
    }
    if (S_ISDIR(status.st_mode)) {
        return soundFileFailure(ErrorKind::invalidInput, path, "is a directory");
    }
    if (!S_ISREG(status.st_mode)) {
        return soundFileFailure(ErrorKind::invalidInput, path, "is not a regular file");
    }
    if (status.st_size == 0) {
        return soundFileFailure(ErrorKind::invalidInput, path, "is empty");
    }
    SF_INFO info{};
    file->sound = sf_open_fd(file->descriptor, SFM_READ, &info, SF_FALSE);
    if (file->sound == nullptr) {
        return soundFileFailure(ErrorKind::invalidInput, path,
                                "is not a sound file that can be read (" + soundReason(nullptr) + ")");
    }
    if (info.channels < 1 || std::cmp_greater(info.channels, PcmBuffer::mostChannels)) {
        return soundFileFailure(ErrorKind::invalidInput, path,
                                "has " + std::to_string(info.channels) + " channels, which is more than " +
                                    std::to_string(PcmBuffer::mostChannels));
    }
    if (info.samplerate < RateConverter::lowestRate || info.samplerate > RateConverter::highestRate) {
        return soundFileFailure(
            ErrorKind::invalidInput, path,
            "has a sample rate of " + std::to_string(info.samplerate) + " Hz, which cannot be converted");
    }
    return SoundFileReader(std::move(file),
                           {CommonFormat::float32, static_cast<double>(info.samplerate),
                            static_cast<std::uint32_t>(info.channels), true, std::nullopt},
                           path);
}

Result<PcmBuffer> SoundFileReader::read(std::uint32_t frames) {
    const auto wanted = std::max<std::uint32_t>(frames, 1);
    auto buffer = PcmBuffer::make(format_, wanted);
    if (!buffer) {
        return soundFileFailure(ErrorKind::system, path_, "there is no memory for its samples");
    }
    const auto count = sf_readf_float(file_->sound, buffer->floatChannelData(), wanted);
    if (count <= 0 && sf_error(file_->sound) != SF_ERR_NO_ERROR) {
        return soundFileFailure(ErrorKind::invalidInput, path_,
                                "cannot be read on (" + soundReason(file_->sound) + ")");
    }
    buffer->setFrameLength(static_cast<std::uint32_t>(std::max<sf_count_t>(count, 0)));
    return std::move(*buffer);
}

Result<MonoSound> readWaveStream(std::string_view bytes) {
    Memory memory{bytes};
    SF_INFO info{};
    // libsndfile takes the length of the file where the header's is larger.
    SoundFileHandle file(-1);
    file.sound = sf_open_virtual(&Memory::access, SFM_READ, &info, &memory);
    if (file.sound == nullptr) {
        return failure(ErrorKind::protocol, bytes.starts_with("RIFF")
                                                ? "wrote a WAV stream without sound"
                                                : "wrote something that is not a WAV stream");
    }
    const int kind = info.format & SF_FORMAT_TYPEMASK;
    if (kind != SF_FORMAT_WAV && kind != SF_FORMAT_WAVEX) {
        return failure(ErrorKind::protocol, "wrote something that is not a WAV stream");
    }
    if ((info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16 || info.channels != 1) {
        return failure(ErrorKind::protocol, "wrote a WAV stream that is not 16-bit mono PCM");
    }
    MonoSound sound{.sampleRate = info.samplerate,
                    .samples = std::vector<std::int16_t>(static_cast<std::size_t>(info.frames))};
    const auto count = sf_read_short(file.sound, sound.samples.data(), info.frames);
    sound.samples.resize(static_cast<std::size_t>(std::max<sf_count_t>(count, 0)));
    return sound;
}

SoundFileWriter::SoundFileWriter(std::unique_ptr<SoundFileHandle> file, std::string path)
    : file_(std::move(file)), path_(std::move(path)) {}
SoundFileWriter::SoundFileWriter(SoundFileWriter&&) noexcept = default;
SoundFileWriter& SoundFileWriter::operator=(SoundFileWriter&&) noexcept = default;
SoundFileWriter::~SoundFileWriter() = default;

Result<SoundFileWriter> SoundFileWriter::create(const std::string& path, std::uint32_t sampleRate) {
    SF_INFO info{};
    info.samplerate = static_cast<int>(sampleRate);
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    auto file = SoundFileHandle::create(path, info);
    if (!file) {
        return std::unexpected(file.error());
    }
    return SoundFileWriter(std::move(*file), path);
}

Result<void> SoundFileWriter::write(std::span<const std::byte> pcm) {
    const auto size = pcm.size() / 2 * 2;
    if (size == 0) {
        return {};
    }
    if (bytes_ + size > mostWavBytes) {
        return soundFileFailure(ErrorKind::system, path_, "is as large as a WAV file can be");
    }
    const auto written = sf_write_raw(file_->sound, pcm.data(), static_cast<sf_count_t>(size));
    if (std::cmp_not_equal(written, size)) {
        return soundFileFailure(ErrorKind::system, path_,
                                "cannot be written (" + soundReason(file_->sound) + ")");
    }
    bytes_ += size;
    return {};
}

}  // namespace tarn
