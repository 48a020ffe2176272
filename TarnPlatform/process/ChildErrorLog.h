#pragma once

#include <memory>
#include <thread>

#include "StopSignal.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// Logs a child's standard error, line by line and without control characters, on a thread of its own: a
/// child whose pipe nobody reads would wait in the middle of a line. Thread: made and destroyed on any
/// thread.
class ChildErrorLog {
public:
    /// `errors`: the pipe's end to read from.
    explicit ChildErrorLog(UniqueDescriptor errors);
    /// Logs the lines that have come and does not wait for more.
    ~ChildErrorLog();
    ChildErrorLog(const ChildErrorLog&) = delete;
    ChildErrorLog& operator=(const ChildErrorLog&) = delete;

private:
    void run() const;

    const UniqueDescriptor errors_;
    StopSignal stop_;
    std::thread thread_;
};

}  // namespace tarn
