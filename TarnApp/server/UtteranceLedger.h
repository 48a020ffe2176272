#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TarnTranslateEvent.h"

namespace tarn {

/// Keeps account of what a service has told of a stream's utterances, over all the connections that carry it
/// one after the other: which sound is done with, and which event says once more what was told before, so
/// that nothing is lost and nothing is told twice.
///
/// An utterance is done with when its final translation has come; its end is where the service says that its
/// speech stopped, else what had been sent when that was told, or when its first final text came. Positions
/// are those of `KeptSound`. Thread: one executor.
class UtteranceLedger {
public:
    /// A new connection, whose sound begins at `base`, where all before is done with. Events are its from
    /// here on.
    void connect(std::uint64_t base);

    /// The connection is not sent `bytes` of sound from position `at` on.
    void leaveOut(std::uint64_t at, std::uint64_t bytes);

    /// What the owner is to be told in place of `event`, if anything. `sent`: up to where the connection has
    /// been given sound.
    /// The times of `Progress` count from the first sound of all.
    std::optional<TarnTranslateEvent> take(TarnTranslateEvent event, std::uint64_t sent);

    /// Up to where the sound is done with.
    std::uint64_t settled() const { return settled_; }

    /// Whether nothing is being said or translated, as far as the service has told.
    bool isIdle() const { return open_.empty() && shown_[0].empty() && shown_[1].empty(); }

    /// Whether the service tells where speech begins, so that `isIdle` is to be relied upon.
    bool hasMarks() const { return hasMarks_; }

    /// Gives up waiting for the texts of noise that stopped long before `sent`.
    void forgetNoise(std::uint64_t sent);

    /// How many final texts were passed over because they had been told before. For diagnostics.
    int repeats() const { return repeats_; }

private:
    enum Kind : std::uint8_t { source, translation };

    struct Utterance {
        std::string id{};
        std::optional<std::uint64_t> end{};  ///< once its speech has stopped
        bool isExact = false;                ///< the service said where
        bool hasSource = false;              ///< its final transcript has come
        bool isTranslated = false;
    };

    /// A final text of sound that is not done with: it comes again when that sound is sent again.
    struct Told {
        Kind kind;
        std::uint64_t end;
        bool isExact;
    };

    std::optional<TarnTranslateEvent> takeProgress(StreamProgress progress, std::uint64_t sent);
    std::optional<TarnTranslateEvent> takeVoice(translate::TranslatedAudio voice);
    template <typename Text>
    std::optional<TarnTranslateEvent> takeText(Kind kind, Text text, std::uint64_t sent);
    std::optional<std::uint64_t> placeOf(std::optional<std::int64_t> milliseconds, std::uint64_t sent) const;
    Utterance& stopped(const std::string& id);
    Utterance& withFinal(Kind kind, std::uint64_t sent);
    Utterance& withFinalSource(std::uint64_t sent);
    Utterance& withFinalTranslation(std::uint64_t sent);
    bool isRepeated(Kind kind, const Utterance& utterance);
    bool isStale(Kind kind, const std::string& text, std::uint64_t sent) const;
    void takeResponse(StreamProgress::Kind kind);
    void endVoice();
    void settleFront();

    int connections_ = 0;
    std::uint64_t base_ = 0;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> leftOut_;  ///< where, how many bytes
    std::deque<Utterance> open_;                                    ///< of this connection, in order
    std::uint64_t settled_ = 0;
    std::uint64_t lastEnd_ = 0;  ///< the latest end that this connection has told
    bool hasMarks_ = false;
    bool hasStopped_ = false;                ///< this connection has told of an utterance's end
    std::string nextSource_;                 ///< the utterance whose final transcript comes next
    std::deque<Told> told_;                  ///< by this connection
    std::deque<Told> again_;                 ///< by those before; to be passed over when it comes
    std::array<std::string, 2> shown_;       ///< the unfinished texts that the owner has
    std::array<std::size_t, 2> replaced_{};  ///< length of those that a connection before has left
    std::array<std::string, 2> lastFinal_;
    bool isResponseOpen_ = false;      ///< a response has begun, and its final translation has not come
    bool isTranslationFinal_ = false;  ///< the voice that comes is that of a final translation
    std::uint64_t voiceTold_ = 0;      ///< bytes of the unfinished translation's voice, by all connections
    std::uint64_t voiceSeen_ = 0;      ///< the same, by this one
    int repeats_ = 0;
};

}  // namespace tarn
