#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

#include "TarnPlatform/base/Result.h"

// This header is for the sources of the readers and writers of sound files only.

namespace tarn {

/// A WAV header counts the bytes of its samples with 32 bits, which limits the file.
inline constexpr std::uint64_t mostWavBytes = 0xFFFF'0000;

/// An open descriptor and libsndfile's state over it.
struct SoundFileHandle {
    explicit SoundFileHandle(int fd) : descriptor(fd) {}
    SoundFileHandle(const SoundFileHandle&) = delete;
    SoundFileHandle& operator=(const SoundFileHandle&) = delete;
    ~SoundFileHandle();

    int descriptor;
    SNDFILE* sound = nullptr;

    /// Creates a sound file or empties the one that is there, readable for its owner only. A header that can
    /// be brought up to date is, with every write.
    static Result<std::unique_ptr<SoundFileHandle>> create(const std::string& path, SF_INFO info);
};

/// The error's text begins with the path.
std::unexpected<Error> soundFileFailure(ErrorKind kind, const std::string& path, const std::string& reason);
/// libsndfile's words without its full stop. For null, they are those of the last opening that failed.
std::string soundReason(SNDFILE* sound);

}  // namespace tarn
