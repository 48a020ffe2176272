#pragma once

#include <boost/json.hpp>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"
#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// Where a test reads what a client would receive.
class EventLog : public EventSink {
public:
    void send(std::string json) override {
        const std::lock_guard lock(mutex_);
        events_.push_back(boost::json::parse(json).as_object());
        changed_.notify_all();
    }
    void close(std::uint16_t code, std::string /*reason*/) override {
        const std::lock_guard lock(mutex_);
        closed_ = code;
        changed_.notify_all();
    }

    /// Waits until `count` events of the type are there. Generous: the machine may be busy.
    bool waitFor(std::string_view type, std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(60), [&] { return countOf(type) >= count; });
    }
    bool waitForClose() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(60), [&] { return closed_.has_value(); });
    }

    std::vector<boost::json::object> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    std::optional<std::uint16_t> closed() const {
        const std::lock_guard lock(mutex_);
        return closed_;
    }

    /// A field of all events of a type, in order.
    std::vector<std::string> all(std::string_view type, std::string_view field) const {
        std::vector<std::string> values;
        for (const auto& event : events()) {
            if (event.at("type") == boost::json::value(type)) {
                values.emplace_back(event.at(field).as_string());
            }
        }
        return values;
    }

private:
    std::size_t countOf(std::string_view type) const {
        std::size_t count = 0;
        for (const auto& event : events_) {
            count += event.at("type") == boost::json::value(type) ? 1 : 0;
        }
        return count;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<boost::json::object> events_;
    std::optional<std::uint16_t> closed_;
};

/// Sends sound as a client does: 50 ms a message, as fast as it is taken.
inline void say(EngineStream& stream, std::span<const std::int16_t> samples) {
    constexpr std::size_t chunk = 800;
    while (!samples.empty()) {
        const auto piece = samples.first(std::min(samples.size(), chunk));
        samples = samples.subspan(piece.size());
        stream.receive(boost::json::serialize(boost::json::object{
            {"type", events::audioAppend}, {"audio", base64Encode(std::as_bytes(piece))}}));
    }
}

}  // namespace tarn::relay
