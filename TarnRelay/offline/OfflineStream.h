#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Listener.h"
#include "StreamOutlet.h"
#include "TarnRelay/engines/TranslationEngine.h"

namespace tarn::relay {

/// One of a limited number of places, given back with the object's end. Movable only.
class StreamPlace {
public:
    /// Nothing when all `places` are taken. `taken`: counts them.
    static std::optional<StreamPlace> take(std::shared_ptr<std::atomic<int>> taken, int places);

private:
    struct GiveBack {
        void operator()(std::atomic<int>* taken) const { --*taken; }
    };

    explicit StreamPlace(std::shared_ptr<std::atomic<int>> taken)
        : owner_(std::move(taken)), held_(owner_.get()) {}

    std::shared_ptr<std::atomic<int>> owner_;
    std::unique_ptr<std::atomic<int>, GiveBack> held_;
};

/// Takes one client's messages and hands its sound to the listener.
class OfflineStream : public EngineStream {
public:
    /// What the client is told about its session.
    struct Session {
        std::string source;
        std::string target;
        int silenceMs = 0;
    };

    /// `workers`: what the listener runs on, kept as long as the stream.
    OfflineStream(std::shared_ptr<void> workers, StreamPlace place, std::shared_ptr<StreamOutlet> outlet,
                  std::shared_ptr<Listener> listener, Session session);
    ~OfflineStream() override;
    OfflineStream(const OfflineStream&) = delete;
    OfflineStream& operator=(const OfflineStream&) = delete;

    void receive(std::string message) override;

private:
    void sendSession(std::string_view type);

    const std::shared_ptr<void> workers_;  ///< first here, hence the last to go
    const StreamPlace place_;
    const std::shared_ptr<StreamOutlet> outlet_;
    const std::shared_ptr<Listener> listener_;
    const Session session_;
    bool toldNonsense_ = false;
};

}  // namespace tarn::relay
