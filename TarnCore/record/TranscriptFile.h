#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"
#include "Transcript.h"

namespace tarn {

/// A transcript that is written as it comes. The file is whole and valid after each utterance: what is
/// written anew at its end never gets shorter, and takes the old one's place in one write, so that only a
/// kill within that write leaves a part of it. Only the owner can read it. Thread: one; each call waits for
/// the file.
class TranscriptFile {
public:
    /// Makes the file, or empties it. What is there and is no regular file stays as it is.
    static Result<TranscriptFile> create(const std::filesystem::path& path, const TranscriptOptions& options);

    /// Where the disk takes no more, what it has not taken is kept and written with the next utterance. A
    /// file that was removed meanwhile is not made again: nothing more is saved.
    Result<void> add(const Utterance& utterance);

    /// Writes what is missing and waits until the disk has it. Says why it could not, also where that has
    /// been said before.
    Result<void> close();

private:
    TranscriptFile(std::filesystem::path path, UniqueDescriptor file, const TranscriptOptions& options);
    Result<void> take(const Transcript::Change& change);
    Result<void> write();
    Result<void> failed(int reason) const;

    std::filesystem::path path_;
    UniqueDescriptor file_;
    Transcript transcript_;
    // The end of the file, from `at_` on.
    std::uint64_t at_ = 0;
    std::string there_;   ///< as it is
    std::string wanted_;  ///< as it should be
};

/// Writes a whole transcript in the place of the file `path`, in one step: see `replaceFile`.
Result<void> saveTranscript(const std::filesystem::path& path, std::span<const Utterance> utterances,
                            const TranscriptOptions& options);

}  // namespace tarn
