#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "Options.h"
#include "TarnApp/server/TarnTranslateEvent.h"

namespace tarn::cli {

/// Turns what happens in a run into lines. Thread: one.
class EventPrinter {
public:
    virtual ~EventPrinter() = default;

    /// `value`: "connecting", "running", "stopping", "idle" or "error".
    virtual void state(const std::string& value) = 0;
    virtual void event(const TarnTranslateEvent& event) = 0;

    /// `start`: where the times of the lines count from. `write`: takes text for standard output.
    static std::unique_ptr<EventPrinter> make(const RunOptions& options,
                                              std::chrono::steady_clock::time_point start,
                                              std::function<void(std::string)> write);
};

/// The text without what a terminal would take for a command.
std::string printable(const std::string& text);

}  // namespace tarn::cli
