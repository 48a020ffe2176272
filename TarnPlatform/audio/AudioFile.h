#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "AudioFormat.h"
#include "PcmBuffer.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

struct SoundFileHandle;

/// Writes captured buffers to a sound file as they come: 32-bit float WAV or 24-bit FLAC, by the extension
/// (".wav", ".flac", in any case). FLAC clips at full scale.
///
/// A WAV header is brought up to date with every write; a FLAC file is whole once its object is gone. Only
/// its owner can read the file. Not thread-safe.
class AudioFile {
public:
    /// Creates the file or empties the one that is there, with the rate and the channels of `settings`.
    /// Fails, in one line that begins with the path, also for another extension and where the kind of file
    /// cannot hold so many channels.
    static Result<AudioFile> forWriting(const std::string& path, const AudioFormat& settings);

    AudioFile(AudioFile&&) noexcept;
    AudioFile& operator=(AudioFile&&) noexcept;
    ~AudioFile();

    /// Appends Float32 of the file's rate and channels, planar or interleaved. Fails for another format, when
    /// the disk is full, and before a WAV file would grow past what its header can say (4 GiB).
    Result<void> write(const PcmBuffer& from);

private:
    AudioFile(std::unique_ptr<SoundFileHandle> file, std::string path, const AudioFormat& settings,
              bool isWav);

    std::unique_ptr<SoundFileHandle> file_;
    std::string path_;
    AudioFormat settings_;
    bool isWav_;
    std::uint64_t bytes_ = 0;
    std::vector<float> interleaved_;
};

}  // namespace tarn
