#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn::test {

/// Collects the log lines of the process while it lives. One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const;
    /// The lines that begin with `prefix`.
    std::vector<std::string> lines(const std::string& prefix) const;

private:
    struct State {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    std::shared_ptr<State> state_;
};

}  // namespace tarn::test
