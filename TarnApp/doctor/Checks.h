#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "Wording.h"

namespace tarn {

enum class CheckStatus : std::uint8_t {
    ok,
    warning,  ///< works, but not as it should, or cannot be told
    fault,    ///< does not work
};

/// What one check found. Value type; holds no secret.
struct CheckResult {
    std::string name;  ///< one of `CheckName`, the same in every language
    CheckStatus status = CheckStatus::ok;
    std::string detail{};  ///< one line: how it is
    std::string advice{};  ///< one line: what to do; empty where nothing needs doing
};

/// Takes each result as soon as it is known. Thread: any.
using Report = std::function<void(CheckResult)>;

/// The checks, in the order in which they are shown.
namespace CheckName {
inline constexpr const char* audioServer = "audio-server";
inline constexpr const char* sessionManager = "session-manager";
inline constexpr const char* defaultOutput = "default-output";
inline constexpr const char* defaultInput = "default-input";
inline constexpr const char* capture = "capture";
inline constexpr const char* microphones = "microphones";
inline constexpr const char* keyring = "keyring";
inline constexpr const char* server = "server";
inline constexpr const char* token = "token";
inline constexpr const char* certificates = "certificates";
inline constexpr const char* proxy = "proxy";
inline constexpr const char* display = "display";
inline constexpr const char* portals = "portals";
inline constexpr const char* links = "links";
inline constexpr const char* fonts = "fonts";
inline constexpr const char* settings = "settings";
inline constexpr const char* instance = "instance";
}  // namespace CheckName

/// The checks themselves. Each looks at this process's own surroundings, changes nothing there, never asks
/// the user for anything and never says what a token is. Thread: any, each on one of its own, which it
/// blocks.
namespace Checks {

/// How long one thing that is asked may take.
inline constexpr std::chrono::milliseconds patience{2000};

/// Server, session manager, default devices, what can be captured, microphones.
void audio(const Wording& say, const Report& report);
/// The deployment, whether its server answers, its certificate, and what it says of the stored token.
void account(const Wording& say, const Report& report);
void proxy(const Wording& say, const Report& report);
void keyring(const Wording& say, const Report& report);
void display(const Wording& say, const Report& report);
void portals(const Wording& say, const Report& report);
void links(const Wording& say, const Report& report);
void fonts(const Wording& say, const Report& report);
void settings(const Wording& say, const Report& report);
void instance(const Wording& say, const Report& report);

}  // namespace Checks

}  // namespace tarn
