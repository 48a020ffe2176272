#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn {

/// How far the service is with what it was sent. Value type.
struct StreamProgress {
    enum class Kind : std::uint8_t {
        speechStarted,
        speechStopped,  ///< an utterance has ended; its final texts may still come
        sourceDone,     ///< its final transcript comes next
        responseBegun,  ///< a translation begins
        voiceDone,      ///< all of a translation's voice has come
        responseDone,   ///< nothing more comes of a translation
    };

    Kind kind = Kind::speechStarted;
    /// The service's name for the utterance or, from `responseBegun` on, for its response; may be empty.
    std::string id{};
    /// Of `speechStarted` and `speechStopped`: where, in the sound that the connection was sent, as the
    /// service says.
    std::optional<std::int64_t> milliseconds{};
    /// Of `responseBegun`: the utterance that it translates; empty where the service does not tell.
    std::string item{};

    bool operator==(const StreamProgress&) const = default;
};

}  // namespace tarn
