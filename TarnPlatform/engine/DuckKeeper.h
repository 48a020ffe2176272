#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// A process that turns other programs up again when this one dies: it is told which streams are turned down,
/// and acts when its line to us closes. Nothing is left behind that a next start would have to look for.
///
/// Thread: one at a time.
class DuckKeeper {
public:
    /// `program`: empty: "tarn-unduck" beside this program or in ../libexec/tarn. Fails where it cannot be
    /// started.
    static Result<std::unique_ptr<DuckKeeper>> make(const std::string& program);
    /// The process ends; it acts where `allUp` was not said since the last `down`.
    ~DuckKeeper();
    DuckKeeper(const DuckKeeper&) = delete;
    DuckKeeper& operator=(const DuckKeeper&) = delete;

    /// A stream, by its serial, is about to be turned down. False: the process has died. Never waits.
    bool down(const std::string& serial);
    /// None is any more.
    void allUp();

private:
    DuckKeeper(UniqueDescriptor line, pid_t process);
    bool say(const std::string& text);

    UniqueDescriptor line_;
    const pid_t process_;
};

}  // namespace tarn
