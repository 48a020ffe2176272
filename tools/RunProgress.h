#pragma once

#include <chrono>

#include "TarnApp/session/OpenUtterance.h"

namespace tarn::cli {

/// Follows the events of a run far enough to tell whether anything is still to come.
class RunProgress {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    void note(const TarnTranslateEvent& event, TimePoint now);

    /// True when every utterance heard so far has its final text, its final translation and its voice, and
    /// nothing more has come for a while. A voice that does not come is not waited for as long as a text.
    bool isSettled(TimePoint now) const;

    /// True when every utterance heard so far has its final text and its final translation.
    bool isFinal() const { return !utterance_.hasText(); }

private:
    OpenUtterance utterance_;
    bool voiceDue_ = false;  ///< no sound has come since the last final translation
    TimePoint lastEvent_{};
};

}  // namespace tarn::cli
