#pragma once

#include <string_view>

namespace tarn {

/// Writes one line to the system's log (the journal, or what stands in for it) under the name "tarn". What is
/// said of `logLine` about tokens and spoken words holds here too. Thread: any; never waits for long.
void systemLog(std::string_view line);

}  // namespace tarn
