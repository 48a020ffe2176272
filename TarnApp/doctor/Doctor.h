#pragma once

#include <cstdint>

namespace tarn {

/// Looks at what this program needs of its surroundings, and says what works, what does not and what to do
/// about it, in the language of the interface.
struct Doctor {
    enum class Format : std::uint8_t { text, json };

    /// Writes the report to standard output and ends the process: with status 0 where nothing is at fault,
    /// else with 1. Takes 6 s at most, whatever hangs. It does not return and tears nothing down, because a
    /// check that hangs still uses the process. Thread: main, with nothing else running.
    [[noreturn]] static void examine(Format format);
};

}  // namespace tarn
