#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "TarnCore/realtime/StreamProgress.h"

namespace tarn {

/// What a translate stream tells its owner, in the order in which it happened.
namespace translate {

/// What was heard in the current utterance so far; `done`: its final form.
struct SourceText {
    std::string text;
    bool done = false;
    bool operator==(const SourceText&) const = default;
};

/// Its translation so far; `done`: its final form.
struct TranslatedText {
    std::string text;
    bool done = false;
    bool operator==(const TranslatedText&) const = default;
};

/// The translated voice: s16le, 24 kHz, mono.
struct TranslatedAudio {
    std::vector<std::byte> bytes;
    bool operator==(const TranslatedAudio&) const = default;
};

/// The relay's own complaint; the stream goes on.
struct Error {
    std::string message;
    bool operator==(const Error&) const = default;
};

/// Sound that was given and is not translated, since the network is too slow for it.
struct Gap {
    double seconds = 0;
    bool isOfOutage = false;  ///< there was no connection for longer than sound is kept
    /// Where it begins, in all the sound that was given; nothing where that is not known.
    std::optional<std::int64_t> milliseconds{};
    bool operator==(const Gap&) const = default;
};

/// How far the service is with the utterances.
using Progress = StreamProgress;

/// The server refused the access token; the stream stays open until it is closed.
struct Unauthorized {
    bool operator==(const Unauthorized&) const = default;
};

/// The owner closed the stream: the last event.
struct Closed {
    bool operator==(const Closed&) const = default;
};

}  // namespace translate

using TarnTranslateEvent = std::variant<translate::SourceText, translate::TranslatedText,
                                        translate::TranslatedAudio, translate::Error, translate::Gap,
                                        translate::Progress, translate::Unauthorized, translate::Closed>;

}  // namespace tarn
