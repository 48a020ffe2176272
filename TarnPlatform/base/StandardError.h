#pragma once

#include <chrono>
#include <string>

namespace tarn {

/// Lines to standard error that never wait for whoever reads it: a terminal stopped with Ctrl-S or a full
/// pipe takes them later, in order. Up to 256 KiB wait; what comes then is left out, and how much is said
/// once there is room. Thread: one at a time.
class StandardError {
public:
    /// Takes a line with its newline.
    void write(const std::string& line);
    /// Writes what waits, for as long as `patience` at most. For the end of the process.
    void flush(std::chrono::milliseconds patience);

private:
    void writeWhatIsTaken();
    void sayWhatIsLost();

    std::string waiting_;
    std::size_t lost_ = 0;  // lines
};

}  // namespace tarn
