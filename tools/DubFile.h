#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/audio/SoundFile.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::cli {

/// The translated voice as a WAV file. Thread: main.
class DubFile {
public:
    /// Nothing is written to an empty path.
    explicit DubFile(std::optional<std::string> path) : path_(std::move(path)) {}

    /// Makes the file, once. Requires: there is sound to come, since an older recording is overwritten.
    Result<void> open();
    /// `speechSeconds`: how much speech the server has been given. After a failure nothing more is written.
    Result<void> write(const std::vector<std::byte>& voice, double speechSeconds);
    bool hasNoEnd() const { return hasNoEnd_; }  ///< the server sent far more voice than there was speech

private:
    const std::optional<std::string> path_;
    std::optional<SoundFileWriter> writer_;
    double seconds_ = 0;
    bool hasNoEnd_ = false;
};

}  // namespace tarn::cli
