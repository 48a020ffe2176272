#include "InputSource.h"

#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include "OutputWriter.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnPlatform/audio/SoundFile.h"

namespace tarn::cli {
namespace {

constexpr std::size_t pieceBytes =
    InputSource::bytesPerSecond * static_cast<std::size_t>(InputSource::pieceLength.count()) / 1000;

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
        // A little silence after the last frame, so that the filter gives out what it still holds.
        ended_ = true;
        auto silence = PcmBuffer::make(reader_.format(), frames);
        if (!silence) {
            return buffer;
        }
        silence->setFrameLength(frames);
        return std::move(*silence);
    }

    SoundFileReader reader_;
    AudioResampler resampler_;
    bool ended_ = false;
};

class StandardInput final : public InputSource {
public:
    explicit StandardInput(asio::posix::stream_descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    Task<Result<std::optional<std::vector<std::byte>>>> next() override {
        std::vector<std::byte> piece(pieceBytes);
        for (;;) {
            const auto [error, count] = co_await descriptor_.async_read_some(
                asio::buffer(piece.data() + held_, piece.size() - held_), asValue);
            if (error == asio::error::eof) {
                co_return std::nullopt;  // half a sample at the very end is none
            }
            if (error == asio::error::operation_aborted) {
                throw boost::system::system_error(error);  // cancelled, which is no failure of the input
            }
            if (error) {
                co_return failure(ErrorKind::system, "standard input cannot be read: " + error.message());
            }
            if (held_ == 1) {
                piece[0] = half_;
            }
            const std::size_t size = held_ + count;
            held_ = size % 2;
            if (held_ == 1) {
                half_ = piece[size - 1];
            }
            piece.resize(size - held_);
            if (!piece.empty()) {
                co_return piece;
            }
            piece.resize(pieceBytes);
        }
    }

private:
    asio::posix::stream_descriptor descriptor_;
    std::byte half_{};
    std::size_t held_ = 0;  ///< 1 while `half_` waits for the other half of its sample
};

}  // namespace

Result<std::unique_ptr<InputSource>> openInput(const std::string& input, const SerialExecutor& executor) {
    if (input != "-") {
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

}  // namespace tarn::cli
