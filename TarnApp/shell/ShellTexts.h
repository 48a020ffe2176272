#pragma once

#include <cstdint>
#include <string>

namespace tarn {

/// The texts that only the program's shell shows.
enum class ShellText : std::uint8_t {
#define TARN_SHELL_TEXT(key, english, chinese) key,
#include "ShellTextTable.h"
#undef TARN_SHELL_TEXT
};

/// In the language of the interface. Thread: main.
std::string shellText(ShellText text);

}  // namespace tarn
