#pragma once

#include <chrono>

#include "TarnApp/server/TarnTranslateEvent.h"

namespace tarn::cli {

/// Follows the events of a run far enough to tell whether anything is still to come.
class RunProgress {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    void note(const TarnTranslateEvent& event, TimePoint now);

    /// True when every utterance heard so far has its final text and its final translation, and nothing has come
    /// for `quiet`.
    bool isSettled(TimePoint now, std::chrono::milliseconds quiet) const;

private:
    bool sourceOpen_ = false;
    bool translationOpen_ = false;
    int finalSources_ = 0;
    int finalTranslations_ = 0;
    TimePoint lastEvent_{};
};

}  // namespace tarn::cli
