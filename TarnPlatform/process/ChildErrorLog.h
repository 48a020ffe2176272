#pragma once

#include <memory>
#include <thread>

#include "StopSignal.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// Logs what a child writes to its standard error, line by line and without what a terminal would obey, on a
/// thread of its own: a child that nobody reads would wait. Thread: made and destroyed on any one.
class ChildErrorLog {
public:
    /// `errors`: the pipe's end to read from.
    explicit ChildErrorLog(UniqueDescriptor errors);
    /// Logs what has come and does not wait for more.
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
