#pragma once

#include "TarnApp/server/TarnTranslateEvent.h"

namespace tarn {

/// Follows a stream's events far enough to tell whether a text is still to come. Thread: one.
class OpenUtterance {
public:
    void note(const TarnTranslateEvent& event);

    /// Whether a text that is told of has no final form yet, or a final transcript no translation.
    bool hasText() const { return isSourceOpen_ || isTranslationOpen_ || finalTranslations_ < finalSources_; }
    /// The same, or the service has heard speech of which it has told nothing yet.
    bool isOpen() const { return hasText() || isSpeechOpen_; }

private:
    bool isSpeechOpen_ = false;
    bool isSourceOpen_ = false;
    bool isTranslationOpen_ = false;
    int finalSources_ = 0;
    int finalTranslations_ = 0;
};

}  // namespace tarn
