#include "DubFile.h"

#include <cstdint>
#include <utility>

namespace tarn::cli {
namespace {

constexpr std::uint32_t rate = 24000;
constexpr double bytesPerSecond = 2 * rate;
// No translation is so much longer than the speech: a server that sends voice without end must not fill the
// disk.
constexpr double longestFirstVoice = 60;  // seconds
constexpr double mostVoicePerSpeech = 4;

}  // namespace

Result<void> DubFile::open() {
    if (!path_ || writer_) {
        return {};
    }
    auto made = SoundFileWriter::create(*path_, rate);
    if (!made) {
        return std::unexpected(made.error());
    }
    writer_ = std::move(*made);
    return {};
}

Result<void> DubFile::write(const std::vector<std::byte>& voice, double speechSeconds) {
    if (!writer_) {
        return {};
    }
    seconds_ += static_cast<double>(voice.size()) / bytesPerSecond;
    hasNoEnd_ = seconds_ > longestFirstVoice + mostVoicePerSpeech * speechSeconds;
    auto written = hasNoEnd_ ? Result<void>(failure(ErrorKind::protocol,
                                                    "the server sends far more voice than there was speech; "
                                                    "what came stands in " +
                                                        *path_))
                             : writer_->write(voice);
    if (!written) {
        writer_.reset();
    }
    return written;
}

}  // namespace tarn::cli
