#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Listener.h"
#include "StreamOutlet.h"
#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// Takes one client's messages and hands its sound to the listener.
class OfflineStream : public EngineStream {
public:
    /// The settings that the client is sent with the session's events.
    struct Session {
        std::string source;
        std::string target;
        int silenceMs = 0;
    };

    /// `workers`: the threads that the listener runs on, kept alive as long as the stream.
    OfflineStream(std::shared_ptr<void> workers, std::shared_ptr<StreamOutlet> outlet,
                  std::shared_ptr<Listener> listener, Session session);
    ~OfflineStream() override;
    OfflineStream(const OfflineStream&) = delete;
    OfflineStream& operator=(const OfflineStream&) = delete;

    void receive(std::string message) override;
    Task<void> readyForMore() override { return listener_->readyForMore(); }

private:
    void sendSession(std::string_view type);

    const std::shared_ptr<void> workers_;  ///< declared first, hence destroyed last
    const std::shared_ptr<StreamOutlet> outlet_;
    const std::shared_ptr<Listener> listener_;
    const Session session_;
    bool toldNonsense_ = false;
};

}  // namespace tarn::relay
