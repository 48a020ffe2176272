#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Options.h"
#include "TarnApp/server/TarnTranslateEvent.h"

namespace tarn::cli {

/// Writes what happens in a run to standard output, each line flushed.
class EventPrinter {
public:
    virtual ~EventPrinter() = default;

    /// `value`: "connecting", "running", "stopping", "idle" or "error".
    virtual void state(const std::string& value) = 0;
    virtual void event(const TarnTranslateEvent& event) = 0;

    /// False once standard output takes no more, because its reader has gone.
    bool isWritable() const { return writable_; }

    /// `start`: where the times of the lines count from.
    static std::unique_ptr<EventPrinter> make(const RunOptions& options, std::chrono::steady_clock::time_point start);

protected:
    void write(const std::string& text);

private:
    bool writable_ = true;
};

/// The text without what a terminal would take for a command.
std::string printable(const std::string& text);

}  // namespace tarn::cli
