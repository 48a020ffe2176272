#include "InputSource.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <filesystem>
#include <string_view>

#include "OutputWriter.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnPlatform/audio/SoundFile.h"
#include "WavStream.h"

namespace tarn::cli {
namespace {

constexpr std::size_t pieceBytes =
    InputSource::bytesPerSecond * static_cast<std::size_t>(InputSource::pieceLength.count()) / 1000;

/// The most bytes of a piped sound file that are held.
constexpr std::size_t mostPipedFile = std::size_t{512} << 20;

/// This much silence after the last frame makes the filters give out their rest.
std::optional<PcmBuffer> silenceOf(const AudioFormat& format) {
    const auto frames = static_cast<std::uint32_t>(
        std::max(1.0, format.sampleRate * static_cast<double>(InputSource::pieceLength.count()) / 1000));
    auto silence = PcmBuffer::make(format, frames);
    if (silence) {
        silence->setFrameLength(frames);
    }
    return silence;
}

class FileInput final : public InputSource {
public:
    explicit FileInput(SoundFileReader reader) : reader_(std::move(reader)) {}

    Task<Result<std::optional<std::vector<std::byte>>>> next() override {
        while (!ended_) {
            auto buffer = nextBuffer();
            if (!buffer) {
                co_return std::unexpected(buffer.error());
            }
            if (auto bytes = resampler_.process(*buffer)) {
                co_return std::move(*bytes);
            }
        }
        co_return std::nullopt;
    }

private:
    Result<PcmBuffer> nextBuffer() {
        const auto rate = reader_.format().sampleRate;
        const auto frames =
            static_cast<std::uint32_t>(std::max(1.0, rate * static_cast<double>(pieceLength.count()) / 1000));
        auto buffer = reader_.read(frames);
        if (!buffer || buffer->frameLength() > 0) {
            return buffer;
        }
        ended_ = true;
        auto silence = silenceOf(reader_.format());
        if (!silence) {
            return buffer;
        }
        return std::move(*silence);
    }

    SoundFileReader reader_;
    AudioResampler resampler_;
    bool ended_ = false;
};

/// A sound file in memory, which a library can read once all of it is there.
class MemoryFile {
public:
    MemoryFile() : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {}
    ~MemoryFile() { ::close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// False where there is no memory for it.
    bool append(std::span<const std::byte> bytes) {
        size_ += bytes.size();
        return size_ <= mostPipedFile &&
               ::write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    const int descriptor_;
    std::size_t size_ = 0;
};

/// Reads standard input: raw samples, or a sound file if it begins as one.
class StandardInput final : public InputSource {
public:
    explicit StandardInput(asio::posix::stream_descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    Task<Result<std::optional<std::vector<std::byte>>>> next() override {
        if (!isKnown_) {
            const auto begun = co_await begin();
            if (!begun) {
                co_return std::unexpected(begun.error());
            }
        }
        if (file_) {
            co_return co_await file_->next();
        }
        if (wav_) {
            co_return co_await nextOfWav();
        }
        co_return co_await nextRaw();
    }

private:
    using Bytes = std::vector<std::byte>;

    /// At most `most` bytes; none at the end.
    Task<Result<Bytes>> read(std::size_t most) {
        Bytes piece(most);
        const auto [error, count] = co_await descriptor_.async_read_some(asio::buffer(piece), asValue);
        if (error == asio::error::operation_aborted) {
            throw boost::system::system_error(error);  // it was cancelled, so the input has not failed
        }
        if (error && error != asio::error::eof) {
            co_return failure(ErrorKind::system, "standard input cannot be read: " + error.message());
        }
        piece.resize(count);
        co_return piece;
    }

    Task<Result<void>> begin() {
        isKnown_ = true;
        while (held_.size() < magicSize) {
            auto piece = co_await read(magicSize - held_.size());
            if (!piece) {
                co_return std::unexpected(piece.error());
            }
            if (piece->empty()) {
                co_return Result<void>();
            }
            held_.insert(held_.end(), piece->begin(), piece->end());
        }
        const std::string_view magic(reinterpret_cast<const char*>(held_.data()), magicSize);
        if (magic == "RIFF") {
            co_return co_await beginWav();
        }
        if (magic == "RF64" || magic == "fLaC" || magic == "OggS") {
            co_return co_await readWhole(std::move(held_));
        }
        co_return Result<void>();
    }

    Task<Result<void>> beginWav() {
        wav_.emplace();
        wav_->append(held_);
        held_.clear();
        while (wav_->kind() == WavStream::Kind::incomplete) {
            const auto piece = co_await read(headerPiece);
            if (!piece) {
                co_return std::unexpected(piece.error());
            }
            if (piece->empty()) {
                co_return failure(ErrorKind::invalidInput, "standard input ends in the header of a WAV");
            }
            wav_->append(*piece);
        }
        if (wav_->kind() == WavStream::Kind::endless) {
            co_return failure(ErrorKind::invalidInput,
                              "standard input is a WAV of a kind that cannot be read as it comes; convert it "
                              "with: sox -t wav - -t raw -r 16000 -c 1 -e signed -b 16 -");
        }
        if (wav_->kind() == WavStream::Kind::whole) {
            Bytes begun = wav_->bytes();
            wav_.reset();
            co_return co_await readWhole(std::move(begun));
        }
        co_return Result<void>();
    }

    Task<Result<void>> readWhole(Bytes piece) {
        memory_ = std::make_unique<MemoryFile>();
        while (!piece.empty()) {
            if (!memory_->append(piece)) {
                co_return failure(ErrorKind::invalidInput,
                                  "standard input is a sound file too long to be kept; name it with --input");
            }
            auto more = co_await read(wholePiece);
            if (!more) {
                co_return std::unexpected(more.error());
            }
            piece = std::move(*more);
        }
        const std::string path = memory_->path();
        auto reader = SoundFileReader::open(path);
        if (!reader) {
            std::string reason = reader.error().description;
            if (reason.starts_with(path)) {
                reason.replace(0, path.size(), "standard input");
            }
            co_return failure(ErrorKind::invalidInput, reason);
        }
        file_ = std::make_unique<FileInput>(std::move(*reader));
        co_return Result<void>();
    }

    Task<Result<std::optional<Bytes>>> nextOfWav() {
        while (!ended_) {
            auto sound = wav_->decode();
            if (!sound) {
                Result<Bytes> piece = Bytes();
                if (!wav_->isOver()) {
                    piece = co_await read(wav_->bytesOf(pieceLength.count()));
                }
                if (!piece) {
                    co_return std::unexpected(piece.error());
                }
                wav_->append(*piece);
                ended_ = piece->empty();
                sound = ended_ ? silenceOf(wav_->format()) : wav_->decode();
            }
            if (auto bytes = sound ? resampler_.process(*sound) : std::nullopt) {
                co_return std::move(*bytes);
            }
        }
        co_return std::nullopt;
    }

    Task<Result<std::optional<Bytes>>> nextRaw() {
        for (;;) {
            auto piece = co_await read(pieceBytes);
            if (!piece) {
                co_return std::unexpected(piece.error());
            }
            const bool isEnd = piece->empty();
            piece->insert(piece->begin(), held_.begin(), held_.end());
            held_.clear();
            if (piece->size() % 2 ==
                1) {  // half a sample waits for its other half, and is dropped at the very end
                held_.push_back(piece->back());
                piece->pop_back();
            }
            if (!piece->empty()) {
                co_return std::move(*piece);
            }
            if (isEnd) {
                co_return std::nullopt;
            }
        }
    }

    static constexpr std::size_t magicSize = 4;
    static constexpr std::size_t headerPiece = 512;
    static constexpr std::size_t wholePiece = std::size_t{64} * 1024;

    asio::posix::stream_descriptor descriptor_;
    bool isKnown_ = false;  ///< what it is has been looked at
    Bytes held_;            ///< read and not given yet
    std::optional<WavStream> wav_;
    AudioResampler resampler_;
    bool ended_ = false;
    std::unique_ptr<MemoryFile> memory_;
    std::unique_ptr<FileInput> file_;
};

/// Whether the path is another name of standard input and no regular file.
bool isStandardInput(const std::string& input) {
    if (input != "/dev/stdin" && input != "/dev/fd/0" && input != "/proc/self/fd/0") {
        return input == "-";
    }
    struct stat status{};
    return ::fstat(STDIN_FILENO, &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

Result<std::unique_ptr<InputSource>> openInput(const std::string& input, const SerialExecutor& executor) {
    if (!isStandardInput(input)) {
        auto reader = SoundFileReader::open(input);
        if (!reader) {
            return std::unexpected(reader.error());
        }
        return std::make_unique<FileInput>(std::move(*reader));
    }
    auto descriptor = openStandardStream(STDIN_FILENO, executor);
    if (!descriptor) {
        return failure(ErrorKind::system, "standard input cannot be read: " + descriptor.error().description);
    }
    return std::make_unique<StandardInput>(std::move(*descriptor));
}

bool isSameFile(const std::string& input, const std::string& path) {
    std::error_code none;
    return input != "-" && std::filesystem::equivalent(input, path, none);
}

}  // namespace tarn::cli
