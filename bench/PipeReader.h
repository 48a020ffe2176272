#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace tarn::bench {

/// A recording program of another project, whose standard output (raw Float32 stereo at 48 kHz) is read as it
/// comes.
class PipeReader {
public:
    /// `heard` gets the samples, interleaved, on a thread of its own. Throws std::runtime_error.
    PipeReader(const std::vector<std::string>& command, std::function<void(std::span<const float>)> heard);
    ~PipeReader();
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    /// Ends the program; the processor time that it took, in seconds.
    double stop();

private:
    pid_t pid_ = -1;
    int pipe_ = -1;
    std::thread thread_;
};

}  // namespace tarn::bench
