#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "Options.h"
#include "TarnApp/server/TarnTranslateEvent.h"
#include "TarnApp/session/SessionHealth.h"

namespace tarn::cli {

/// Turns what happens in a run into lines. Thread: one.
class EventPrinter {
public:
    virtual ~EventPrinter() = default;

    // `source`: which one, counted from 0; shown where there are several, counted from 1.

    /// `value`: "connecting", "running", "stopping", "idle" or "error".
    virtual void state(std::size_t source, const std::string& value) = 0;
    virtual void event(std::size_t source, const TarnTranslateEvent& event) = 0;
    /// What is wrong with a run that goes on, at each change.
    virtual void health(std::size_t source, const SessionFaults& faults) = 0;
    /// The languages that were chosen for a source that named none.
    virtual void languages(std::size_t source, const std::string& from, const std::string& to) = 0;
    /// How loud the captured sound is: linear, 0 to 1. Shown on a terminal only.
    virtual void level(std::size_t source, float level) = 0;

    /// `start`: where the times of the lines count from. `write`: takes text for standard output.
    static std::unique_ptr<EventPrinter> make(const RunOptions& options,
                                              std::chrono::steady_clock::time_point start,
                                              std::function<void(std::string)> write);
};

/// Ten cells between -60 dB and full scale, of a linear level.
std::string levelMeter(float level);

}  // namespace tarn::cli
