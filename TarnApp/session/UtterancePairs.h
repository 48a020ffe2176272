#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "TarnApp/server/TarnTranslateEvent.h"
#include "TarnCore/record/Utterance.h"

namespace tarn {

/// Puts together what the events of one stream tell of each utterance: where its speech is, what was said and
/// its translation. They belong together by the names that the service gives utterances, and where it gives
/// none by their order.
///
/// An utterance is finished when both texts are there. One that lacks some is not waited for any longer when
/// a later one is further than it. What a resumed stream tells a second time makes no second utterance.
/// Thread: one.
class UtterancePairs {
public:
    /// How far the sound is when something happens.
    struct Now {
        std::chrono::milliseconds sent{};  ///< sound that the stream was given
        Utterance::TimePoint time{};       ///< by the user's clock
    };
    using Finished = std::vector<Utterance>;  ///< in the order in which they were said

    /// `frame`: has the source and the languages of all utterances.
    explicit UtterancePairs(Utterance frame) : frame_(std::move(frame)) {}

    /// What is finished with `event`, if anything. To be told of each event, in order, but for the voice.
    Finished take(const TarnTranslateEvent& event, Now now);
    /// So many seconds of the translated voice are not spoken.
    Utterance skipVoice(double seconds, Now now) const;
    /// All that was said and is not finished: nothing more comes.
    Finished finish();

private:
    /// An utterance that is not finished.
    struct Open {
        std::string id{};
        std::chrono::milliseconds begin{};
        std::optional<std::chrono::milliseconds> end{};  ///< once its speech has stopped
        Utterance::TimePoint saidAt{};
        std::optional<std::string> text{};  ///< once it is final
        std::optional<std::string> translation{};
    };
    using Place = std::deque<Open>::iterator;

    void takeProgress(const StreamProgress& progress, Now now);
    void beginSpeech(const StreamProgress& progress, Now now);
    void endSpeech(const StreamProgress& progress, Now now);
    void takeSource(const translate::SourceText& source, Now now);
    void takeTranslation(const std::string& translation, Now now);
    void takeGap(const translate::Gap& gap, Now now);
    Place beginAt(std::chrono::milliseconds begin, Now now);
    Place named(const std::string& id);
    Place awaiting(std::optional<std::string> Open::* text);
    std::optional<std::chrono::milliseconds> placeOf(std::optional<std::int64_t> milliseconds, Now now) const;
    bool isFirstOver() const;
    Finished takeFinished();
    void takeFirst(Finished& finished);

    const Utterance frame_;
    std::deque<Open> open_;            ///< in the order in which they were said
    std::optional<Utterance> gap_;     ///< not told yet, since there may be more of it
    std::string nextSource_;           ///< the utterance whose final transcript comes next
    std::string answered_;             ///< the utterance that is being translated, where the service tells
    std::chrono::milliseconds end_{};  ///< of all that was finished
    std::chrono::milliseconds leftOut_{};  ///< sound that the service's times do not count
};

}  // namespace tarn
