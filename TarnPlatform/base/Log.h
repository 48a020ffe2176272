#pragma once

#include <functional>
#include <string_view>

namespace tarn {

/// Writes `line` and a newline to standard error in one piece, so that lines of several threads never mix,
/// and waits for no reader. Control characters, which a terminal would obey, are written as spaces, and what
/// goes beyond 64 KiB is left out. Callers put a bracketed component tag first ("[qwen] …") and keep tokens
/// and spoken words out. Thread: any.
void logLine(std::string_view line);

/// Sends the lines to `sink` instead of standard error until another sink is set; an empty one restores
/// standard error. For tests and for programs that own the terminal. Thread: any; `sink` is called on the
/// logging thread, one call at a time.
void setLogSink(std::function<void(std::string_view)> sink);

/// Leaves out the lines for which `isLeftOut` is true: for a program that says what they say in words of its
/// own. Thread: any; `isLeftOut` is called like a sink.
void leaveOutOfLog(std::function<bool(std::string_view)> isLeftOut);

}  // namespace tarn
