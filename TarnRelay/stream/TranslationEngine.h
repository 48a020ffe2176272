#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Asio.h"

namespace tarn::relay {

/// The settings that a client asked for in the query of its stream.
struct StreamSettings {
    std::string target;                 ///< language code
    std::optional<std::string> source;  ///< language code; absent: detect
    std::optional<std::string> voice;
    std::string clone = "none";
    std::optional<int> silenceMs;  ///< of `vad_ms`, as the client wrote it, negative too; absent: the default
};

/// Takes an engine's events. Thread: any. It outlives the stream; after the client has gone, calls do
/// nothing.
class EventSink {
public:
    virtual ~EventSink() = default;
    /// `json`: one event, compact JSON text. Events of one stream arrive in call order.
    virtual void send(std::string json) = 0;
    /// Ends the stream after what was sent.
    virtual void close(std::uint16_t code, std::string reason) = 0;
};

/// The relay's own event that tells the client's user what is wrong.
std::string errorEvent(const std::string& message);

/// One client's stream inside an engine.
/// Thread: `receive` on the connection's strand, one call at a time; it returns at once (work goes
/// elsewhere). Destroying it ends the work for that client; no event follows, and it does not block for
/// longer than a recogniser step.
class EngineStream {
public:
    virtual ~EngineStream() = default;
    /// Takes one client message as it came: UTF-8 text that was not parsed and may not be valid JSON.
    virtual void receive(std::string message) = 0;
    /// Waits while more messages would only pile up, so that the connection holds the client back. It never
    /// waits long, and a message is taken in any case. Thread: as `receive`, between its calls.
    virtual Task<void> readyForMore() { co_return; }
};

/// Why a stream cannot be opened.
struct Refusal {
    std::string message;          ///< goes to the client as a "tarn.error"; names what is possible instead
    std::uint16_t closeCode = 0;  ///< the socket is closed with it right after
};

/// The languages of an engine, by code. A member that is empty or absent means that the engine cannot tell.
struct ServedLanguages {
    std::vector<std::string> hears;
    std::map<std::string, std::vector<std::string>> translates;  ///< into what, by language heard
    /// Names of voices by language spoken; a language that is missing has none.
    std::optional<std::map<std::string, std::vector<std::string>>> voices;
};

class TranslationEngine {
public:
    virtual ~TranslationEngine() = default;
    /// The result is always the same. Thread: any.
    virtual ServedLanguages languages() const { return {}; }
    /// Starts a stream for one client. Thread: the relay's network thread; returns at once.
    virtual std::expected<std::unique_ptr<EngineStream>, Refusal> open(const StreamSettings& settings,
                                                                       std::shared_ptr<EventSink> sink) = 0;
};

}  // namespace tarn::relay
