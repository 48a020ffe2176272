#include "PortalRequest.h"

#include <algorithm>
#include <utility>

namespace tarn {

// The answer is a signal of an object whose path follows from the connection's name and `token`. It may come
// before the call returns, so it is listened for first. The call itself returns nothing of use: where it
// fails, there is no signal.
PortalRequest::PortalRequest(BusConnection& bus, const char* interface, const char* method,
                             GVariant* arguments, const std::string& token, Answered answered)
    : answered_(std::move(answered)) {
    std::string sender = g_dbus_connection_get_unique_name(bus.get()) + 1;
    std::ranges::replace(sender, '.', '_');
    const std::string path = std::string(portalPath) + "/request/" + sender + "/" + token;
    response_ = bus.listen(portalName, "org.freedesktop.portal.Request", "Response", path.c_str(), "(ua{sv})",
                           [this](std::string_view, GVariant* signal) {
                               guint32 outcome = 0;
                               GVariant* values = nullptr;
                               g_variant_get(signal, "(u@a{sv})", &outcome, &values);
                               const Variant results(values);
                               answer(outcome == 0 ? Outcome::granted : Outcome::refused, results.get());
                           });
    bus.call({portalName, portalPath, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE},
             lifeline_, [this](const Variant& reply, const std::string&) {
                 if (!reply) {
                     answer(Outcome::unavailable, nullptr);
                 }
             });
}

void PortalRequest::answer(Outcome outcome, GVariant* results) {
    const auto listener = std::exchange(response_, nullptr);  // there is one answer
    if (const auto answered = std::exchange(answered_, nullptr)) {
        answered(outcome, results);
    }
}

}  // namespace tarn
