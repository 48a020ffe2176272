#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::cli {

/// Speech as the service takes it: s16le, 16 kHz, mono.
class InputSource {
public:
    /// How much sound a piece holds at most.
    static constexpr std::chrono::milliseconds pieceLength{50};
    static constexpr std::size_t bytesPerSecond = 32000;

    virtual ~InputSource() = default;
    /// The next piece, whole samples of it; nothing at the end. Thread: the executor given to `openInput`.
    virtual Task<Result<std::optional<std::vector<std::byte>>>> next() = 0;
};

/// `input`: path of a sound file, or "-" for standard input: a sound file that is piped in, or else raw
/// s16le 16 kHz mono. The error is one line that names the file.
Result<std::unique_ptr<InputSource>> openInput(const std::string& input, const SerialExecutor& executor);

/// Whether both paths lead to one file; false for standard input and where one does not exist.
bool isSameFile(const std::string& input, const std::string& path);

}  // namespace tarn::cli
