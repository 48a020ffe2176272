#include "OfflineStream.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <utility>
#include <variant>

#include "ClientMessage.h"
#include "TarnCore/realtime/EventNames.h"

namespace tarn::relay {

namespace json = boost::json;

OfflineStream::OfflineStream(std::shared_ptr<void> workers, std::shared_ptr<StreamOutlet> outlet,
                             std::shared_ptr<Listener> listener, Session session)
    : workers_(std::move(workers)),
      outlet_(std::move(outlet)),
      listener_(std::move(listener)),
      session_(std::move(session)) {
    sendSession(events::sessionCreated);
}

OfflineStream::~OfflineStream() {
    outlet_->shut();
    listener_->stop();
}

void OfflineStream::sendSession(std::string_view type) {
    outlet_->send(
        type,
        {{"session",
          {{"modalities", json::array{"text", "audio"}},
           {"input_audio_format", "pcm"},
           {"output_audio_format", "pcm"},
           {"input_audio_transcription", {{"language", session_.source}}},
           {"translation", {{"language", session_.target}}},
           {"turn_detection", {{"type", "server_vad"}, {"silence_duration_ms", session_.silenceMs}}}}}});
}

void OfflineStream::receive(std::string message) {
    const auto parsed = parseClientMessage(message);
    if (!parsed) {
        // This is reported once: a client that sends invalid messages sends them many times a second.
        if (!std::exchange(toldNonsense_, true)) {
            outlet_->sendError("a message was ignored: " + parsed.error());
        }
    } else if (const auto* audio = std::get_if<AudioAppend>(&*parsed)) {
        listener_->hear(audio->samples);
    } else if (std::holds_alternative<SessionUpdate>(*parsed)) {
        sendSession(events::sessionUpdated);
    }
}

}  // namespace tarn::relay
