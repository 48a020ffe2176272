#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "TarnCore/realtime/ConnectionHealth.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TarnTranslateEvent.h"

namespace tarn {

/// One running translation: audio goes in, events come out.
/// Thread: any executor; what is awaited resumes on the caller's.
class TarnTranslateStream {
public:
    virtual ~TarnTranslateStream() = default;

    /// Every event in order, none dropped or merged; ends only after `close`. A connection that drops by
    /// itself shows here as silence: see `health`.
    virtual const EventQueue<TarnTranslateEvent>& events() const = 0;

    /// Each change, the first of them from `answering`; ends after `close`. `slow` comes again when its
    /// seconds change.
    virtual const EventQueue<ConnectionHealth>& health() const = 0;

    /// Sends s16le, 16 kHz, mono. Never fails: once the connection has died the bytes are dropped. Completes
    /// when they have left; where the network is too slow, the oldest are left out and told as `Gap`.
    virtual Task<void> sendAudio(std::vector<std::byte> bytes) = 0;

    /// As `sendAudio`, without telling when the bytes have left. Thread: any; never waits.
    virtual void queueAudio(std::vector<std::byte> bytes) = 0;

    /// Completes when all that was given to `sendAudio` or `queueAudio` before (but less than a twentieth of
    /// a second at its end) has been read by the server: true; false when the connection ends first. What the
    /// server makes of it may still come.
    virtual Task<bool> waitHeard() = 0;

    /// Ends the connection and the events, `Closed` being the last of them. May be called more than once.
    virtual Task<void> close() = 0;

    /// Whether the connection can still carry audio and events.
    virtual bool isAlive() const = 0;

    /// Completes once `isAlive` is false and says why, in words for people; empty after `close`.
    virtual Task<std::string> waitDead() = 0;
};

}  // namespace tarn
