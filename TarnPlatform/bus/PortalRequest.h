#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "BusConnection.h"

namespace tarn {

/// A call of the desktop's portal that the user may have to answer: the real answer is a signal, and comes
/// when it comes. No answer is told once the request is gone. Thread: the bus's.
class PortalRequest {
public:
    static constexpr const char* portalName = "org.freedesktop.portal.Desktop";
    static constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
    enum class Outcome : std::uint8_t { granted, refused, unavailable };
    /// `results`: empty unless it was granted.
    using Answered = std::function<void(Outcome outcome, GVariant* results)>;

    /// `token`: what "handle_token" of `arguments` says, another one for each request of the connection.
    /// `arguments` is consumed. `answered` is called once, later, and may destroy this.
    PortalRequest(BusConnection& bus, const char* interface, const char* method, GVariant* arguments,
                  const std::string& token, Answered answered);

private:
    void answer(Outcome outcome, GVariant* results);

    Answered answered_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    BusConnection::Held response_;
};

}  // namespace tarn
