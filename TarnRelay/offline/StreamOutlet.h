#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// Sends one stream's events to its client, from several workers, until it is shut. Thread: any.
class StreamOutlet {
public:
    explicit StreamOutlet(std::shared_ptr<EventSink> sink) : sink_(std::move(sink)) {}

    /// Sends `fields` with the event's type and an identifier of its own.
    void send(std::string_view type, boost::json::object fields = {});
    /// Sends a message for the client's user, in plain words.
    void sendError(const std::string& message);
    void close(std::uint16_t code, std::string reason);

    /// Nothing is sent once this has returned.
    void shut();
    bool isShut() const;

private:
    mutable std::mutex mutex_;  ///< guards the rest
    std::shared_ptr<EventSink> sink_;
    std::uint64_t events_ = 0;
};

}  // namespace tarn::relay
