#pragma once

#include <cstdint>
#include <functional>
#include <string>

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

}  // namespace tarn
