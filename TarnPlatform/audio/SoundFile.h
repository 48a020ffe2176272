#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "AudioFormat.h"
#include "PcmBuffer.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

struct SoundFileHandle;

/// Reads a sound file of any kind and sample type that libsndfile knows (WAV, FLAC, Ogg, AIFF, …) as Float32.
///
/// A file that was cut short, or whose header claims more than there is, is read as far as it goes. Only
/// regular files are opened: a pipe or a device could hold the caller for ever. Not thread-safe.
class SoundFileReader {
public:
    /// The error is one line that begins with the path.
    static Result<SoundFileReader> open(const std::string& path);

    SoundFileReader(SoundFileReader&&) noexcept;
    SoundFileReader& operator=(SoundFileReader&&) noexcept;
    ~SoundFileReader();

    /// Float32, interleaved, at the file's rate and channel count.
    const AudioFormat& format() const { return format_; }

    /// The next frames, at most `frames` (one at least). A buffer of no frames is the end.
    /// Fails where the file cannot be read on, with the path in the text.
    Result<PcmBuffer> read(std::uint32_t frames);

private:
    SoundFileReader(std::unique_ptr<SoundFileHandle> file, AudioFormat format, std::string path);

    std::unique_ptr<SoundFileHandle> file_;
    AudioFormat format_;
    std::string path_;
};

/// One channel of signed 16-bit samples.
struct MonoSound {
    int sampleRate = 0;  ///< Hz
    std::vector<std::int16_t> samples;
};

/// Reads a WAV stream of 16-bit mono PCM that a program has written to a pipe. Such a program cannot go back
/// and write the length into the header, so the samples that are there count, whatever the header promises.
/// Fails with `protocol`, in words that go on after the program's name. Thread: any.
Result<MonoSound> readWaveStream(std::string_view bytes);

/// Writes 16-bit WAV of one channel as the sound arrives.
///
/// The header is brought up to date with every write, so that the file can be played whenever the process
/// ends. Only its owner can read the file, also where it was there before with another mode. Not thread-safe.
class SoundFileWriter {
public:
    /// Creates the file or empties the one that is there. The error is one line that begins with the path.
    static Result<SoundFileWriter> create(const std::string& path, std::uint32_t sampleRate);

    SoundFileWriter(SoundFileWriter&&) noexcept;
    SoundFileWriter& operator=(SoundFileWriter&&) noexcept;
    ~SoundFileWriter();

    /// Appends signed 16-bit little-endian samples; a trailing odd byte is ignored. Fails when the disk is
    /// full and before the file would grow past what a WAV header can say (4 GiB); what was written before
    /// stays.
    Result<void> write(std::span<const std::byte> pcm);

private:
    SoundFileWriter(std::unique_ptr<SoundFileHandle> file, std::string path);

    std::unique_ptr<SoundFileHandle> file_;
    std::string path_;
    std::uint64_t bytes_ = 0;
};

}  // namespace tarn
