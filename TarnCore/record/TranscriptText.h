#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tarn {

// What utterances say, made fit for files. A text may hold anything that a service or the name of a program
// sends. Thread: any.

/// The text with U+FFFD in the place of what is not UTF-8.
std::string validText(std::string_view text);

/// The text as one line for people to read: valid; a space in the place of each run of white space, line ends
/// and control characters, none at either end. Characters that turn the direction of text around are left
/// out: a service has no need of them, since each script brings its direction along, and an isolate around
/// them would be torn where a subtitle is broken into lines.
std::string readableText(std::string_view text);

/// `text` with `replacement` in the place of each `part`, which is not empty.
std::string replaced(std::string_view text, std::string_view part, std::string_view replacement);

/// "00:01:05,250": hours of two digits or more, minutes, seconds, and `mark` before the milliseconds.
std::string positionText(std::chrono::milliseconds position, char mark);

/// "0:01:05": whole seconds.
std::string shortPositionText(std::chrono::milliseconds position);

/// "2026-11-26T07:20:51.123Z"
std::string momentText(std::chrono::sys_time<std::chrono::milliseconds> moment);

}  // namespace tarn
