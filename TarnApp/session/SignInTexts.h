#pragma once

#include <cstdint>
#include <string>

namespace tarn {

/// What is said of signing in and out.
enum class SignInText : std::uint8_t {
#define TARN_SIGN_IN_TEXT(key, english, chinese) key,
#include "SignInTextTable.h"
#undef TARN_SIGN_IN_TEXT
};

/// In the language of the interface, with `argument` in its place. Thread: main.
std::string signInText(SignInText text, const std::string& argument = {});

}  // namespace tarn
