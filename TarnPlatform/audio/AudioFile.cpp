#include "AudioFile.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <optional>
#include <utility>

#include "SoundFileHandle.h"

namespace tarn {

namespace {

std::optional<int> kindOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (extension == ".wav") {
        return SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    }
    if (extension == ".flac") {
        return SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
    }
    return std::nullopt;
}

}  // namespace

AudioFile::AudioFile(std::unique_ptr<SoundFileHandle> file, std::string path, const AudioFormat& settings,
                     bool isWav)
    : file_(std::move(file)), path_(std::move(path)), settings_(settings), isWav_(isWav) {}
AudioFile::AudioFile(AudioFile&&) noexcept = default;
AudioFile& AudioFile::operator=(AudioFile&&) noexcept = default;
AudioFile::~AudioFile() = default;

Result<AudioFile> AudioFile::forWriting(const std::string& path, const AudioFormat& settings) {
    const auto kind = kindOf(path);
    if (!kind) {
        return soundFileFailure(ErrorKind::invalidInput, path, "is neither a .wav nor a .flac file");
    }
    SF_INFO info{};
    info.format = *kind;
    // A rate that is too large, or NaN, stays zero, which libsndfile refuses.
    if (settings.sampleRate >= 1 && settings.sampleRate <= std::numeric_limits<int>::max()) {
        info.samplerate = static_cast<int>(settings.sampleRate);
    }
    info.channels = static_cast<int>(std::min(settings.channelCount, PcmBuffer::mostChannels));
    if (sf_format_check(&info) == 0) {
        return soundFileFailure(ErrorKind::invalidInput, path, "cannot hold " + settings.description());
    }
    auto file = SoundFileHandle::create(path, info);
    if (!file) {
        return std::unexpected(file.error());
    }
    sf_command((*file)->sound, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    return AudioFile(std::move(*file), path, settings, (*kind & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV);
}

Result<void> AudioFile::write(const PcmBuffer& from) {
    const auto& format = from.format();
    if (format.commonFormat != CommonFormat::float32 || format.sampleRate != settings_.sampleRate ||
        format.channelCount != settings_.channelCount) {
        return soundFileFailure(
            ErrorKind::invalidInput, path_,
            "holds " + settings_.description() + " and cannot take " + format.description());
    }
    const std::size_t frames = from.frameLength();
    const std::size_t channels = format.channelCount;
    const std::uint64_t size = frames * channels * sizeof(float);
    if (isWav_ && bytes_ + size > mostWavBytes) {
        return soundFileFailure(ErrorKind::system, path_, "is as large as a WAV file can be");
    }
    const float* samples = from.floatChannelData();
    if (!format.interleaved) {
        interleaved_.resize(frames * channels);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const float* plane = from.floatChannelData(static_cast<std::uint32_t>(channel));
            for (std::size_t frame = 0; frame < frames; ++frame) {
                interleaved_[frame * channels + channel] = plane[frame];
            }
        }
        samples = interleaved_.data();
    }
    const auto written = sf_writef_float(file_->sound, samples, static_cast<sf_count_t>(frames));
    if (std::cmp_not_equal(written, frames)) {
        return soundFileFailure(ErrorKind::system, path_,
                                "cannot be written (" + soundReason(file_->sound) + ")");
    }
    bytes_ += size;
    return {};
}

}  // namespace tarn
