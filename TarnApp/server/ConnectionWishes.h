#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace tarn {

class UserDefaults;

/// What becomes of a run whose connection is lost, as the user wants it. Value type.
struct ConnectionWishes {
    bool resumes = true;       ///< another connection is tried, and what was said meanwhile is sent
    bool usesStandIn = false;  ///< the relay of this machine translates while the service stays away
    std::optional<std::chrono::duration<double>> giveUpAfter{};  ///< without a connection; nothing: never

    // The settings' keys. A boolean each.
    static constexpr const char* resumesKey = "resumeConnection";
    static constexpr const char* usesStandInKey = "standIn";

    static ConnectionWishes in(const UserDefaults& settings);
};

/// Tells the wishes of this moment; asked when a stream is opened. Thread: any.
using AskConnectionWishes = std::function<ConnectionWishes()>;

}  // namespace tarn
