#include "StreamOutlet.h"

#include <boost/json/serialize.hpp>
#include <utility>

#include "TarnCore/realtime/EventNames.h"

namespace tarn::relay {

void StreamOutlet::send(std::string_view type, boost::json::object fields) {
    // Numbering and sending happen under one lock, so that events arrive in the order of their numbers.
    fields["type"] = type;
    const std::lock_guard lock(mutex_);
    if (sink_) {
        fields["event_id"] = "event_" + std::to_string(++events_);
        sink_->send(boost::json::serialize(fields));
    }
}

void StreamOutlet::sendError(const std::string& message) {
    send(events::tarnError, {{"error", message}});
}

void StreamOutlet::close(std::uint16_t code, std::string reason) {
    const std::lock_guard lock(mutex_);
    if (sink_) {
        sink_->close(code, std::move(reason));
    }
}

void StreamOutlet::shut() {
    const std::lock_guard lock(mutex_);
    sink_.reset();
}

bool StreamOutlet::isShut() const {
    const std::lock_guard lock(mutex_);
    return !sink_;
}

}  // namespace tarn::relay
